# zlib, LZ4 and xxHash: the static libraries unless the builder asks for shared ones, so that the program
# starts without a search for them.
function(vrii_import target name header)
  if(VRII_SHARED_LIBRARIES)
    find_library(${target}_FILE NAMES ${name} REQUIRED)
  else()
    find_library(${target}_FILE NAMES lib${name}.a REQUIRED)
  endif()
  find_path(${target}_INCLUDE ${header} REQUIRED)
  add_library(${target} UNKNOWN IMPORTED)
  set_target_properties(${target} PROPERTIES IMPORTED_LOCATION "${${target}_FILE}"
                                             INTERFACE_INCLUDE_DIRECTORIES "${${target}_INCLUDE}")
endfunction()

vrii_import(vrii_zlib z zlib.h)
vrii_import(vrii_lz4 lz4 lz4.h)
vrii_import(vrii_xxhash xxhash xxhash.h)
vrii_import(vrii_nettle nettle nettle/sha2.h)

# ISA-L is packaged as a shared library only, and is loaded by the program when there is something to expand.
add_library(vrii_isal INTERFACE)
if(VRII_ISAL)
  find_path(vrii_isal_INCLUDE isa-l/igzip_lib.h)
  if(vrii_isal_INCLUDE)
    target_include_directories(vrii_isal SYSTEM INTERFACE "${vrii_isal_INCLUDE}")
    target_compile_definitions(vrii_isal INTERFACE VRII_ISAL)
    target_link_libraries(vrii_isal INTERFACE ${CMAKE_DL_LIBS})
  else()
    message(STATUS "libisal-dev is not installed: zlib alone expands")
  endif()
endif()

# SQLite and its C++ wrapper, static like the others: a catalogue is written by the release of SQLite it was tried with.
vrii_import(vrii_sqlite3 sqlite3 sqlite3.h)
target_link_libraries(vrii_sqlite3 INTERFACE m ${CMAKE_DL_LIBS})
vrii_import(vrii_sqlitecpp SQLiteCpp SQLiteCpp/SQLiteCpp.h)
target_link_libraries(vrii_sqlitecpp INTERFACE vrii_sqlite3)

# CLI11 is headers alone, and not held against the warnings of this house.
find_path(vrii_cli11_INCLUDE CLI/CLI.hpp REQUIRED)
add_library(vrii_cli11 INTERFACE)
target_include_directories(vrii_cli11 SYSTEM INTERFACE "${vrii_cli11_INCLUDE}")

# RapidJSON is headers alone too. Its vector code stays off: the packaged version leaves some control characters
# unescaped there.
find_path(vrii_rapidjson_INCLUDE rapidjson/writer.h REQUIRED)
add_library(vrii_rapidjson INTERFACE)
target_include_directories(vrii_rapidjson SYSTEM INTERFACE "${vrii_rapidjson_INCLUDE}")
# Its stacks begin with an offset to a null pointer, which clang's sanitizer takes for a fault.
if(VRII_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  target_compile_options(vrii_rapidjson INTERFACE -fno-sanitize=pointer-overflow)
endif()
