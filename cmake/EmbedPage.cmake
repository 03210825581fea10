# Run at build time: composes the page out of its template, style and scripts, and writes its fixed texts as C++.
#
#   cmake -D FOLDER=<of the sources> -D SCRIPTS=<names, in order> -D OUTPUT=<file.cpp> -P EmbedPage.cmake
#
# The style and the script are allowed by their hashes alone, so nothing that reaches the page otherwise can run.

# hash_source(<variable> <text>): the text's hash as a content security policy names it.
function(hash_source variable text)
  set(alphabet "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/")
  string(SHA256 hex "${text}")
  string(APPEND hex "00") # 33 bytes: three hexadecimal digits are two of base64
  set(base64 "")
  foreach(at RANGE 0 63 3)
    string(SUBSTRING ${hex} ${at} 3 digits)
    math(EXPR high "0x${digits} / 64")
    math(EXPR low "0x${digits} % 64")
    string(SUBSTRING ${alphabet} ${high} 1 first)
    string(SUBSTRING ${alphabet} ${low} 1 second)
    string(APPEND base64 ${first}${second})
  endforeach()
  string(SUBSTRING ${base64} 0 43 base64)
  set(${variable} "'sha256-${base64}='" PARENT_SCOPE)
endfunction()

# append_text(<name> <text>): a constant of the generated source, as numbers, so that no text needs escaping.
function(append_text name text)
  string(HEX "${text}" bytes)
  string(REGEX REPLACE "(................................)" "\\1\n" bytes "${bytes}")
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
  file(APPEND ${OUTPUT} "constexpr char ${name}Bytes[] = {\n${bytes}};\n"
                        "constinit const std::string_view ${name}(${name}Bytes, sizeof ${name}Bytes);\n\n")
endfunction()

file(READ ${FOLDER}/page.html page)
file(READ ${FOLDER}/page.css style)
set(script "(() => {\n\"use strict\";\n")
foreach(name IN LISTS SCRIPTS)
  file(READ ${FOLDER}/${name} text)
  string(APPEND script "${text}")
endforeach()
string(APPEND script "})();\n")

# What stands between the tags is hashed as the browser sees it.
foreach(text IN ITEMS "${style}" "${script}")
  if(text MATCHES "</|<!--|\r|[^\n -~]")
    message(FATAL_ERROR "the page's style or script holds what could end its element, or is not plain ASCII")
  endif()
endforeach()

hash_source(style_hash "${style}")
hash_source(script_hash "${script}")
foreach(name IN ITEMS style_hash script_hash style script)
  string(REPLACE "@${name}@" "${${name}}" page "${page}")
endforeach()
string(FIND "${page}" "@documents@" cut)
string(SUBSTRING "${page}" 0 ${cut} head)
string(SUBSTRING "${page}" ${cut} -1 tail)
string(REPLACE "@documents@\n" "" tail "${tail}")

file(WRITE ${OUTPUT} "#include \"inspect/report/page_texts.h\"\n\nnamespace inspect {\n\n")
append_text(kPageHead "${head}")
append_text(kDocumentStart "<script type=\"application/json\">")
append_text(kDocumentEnd "</script>\n")
append_text(kPageTail "${tail}")
file(APPEND ${OUTPUT} "}  // namespace inspect\n")
