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
