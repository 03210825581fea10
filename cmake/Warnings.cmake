# One target that every room links: language warnings as errors, the include root, the sanitizers.
add_library(vrii_build INTERFACE)
target_include_directories(vrii_build INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(vrii_build INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wformat=2
                                            -Wnon-virtual-dtor -Wold-style-cast -Werror)
target_compile_options(vrii_build INTERFACE -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)
target_compile_definitions(vrii_build INTERFACE _FILE_OFFSET_BITS=64)
if(VRII_SANITIZE)
  target_compile_options(vrii_build INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=all
                                              -fno-omit-frame-pointer)
  target_link_options(vrii_build INTERFACE -fsanitize=address,undefined)
  # Between its checks g++ loses sight of what its own library initialises.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(vrii_build INTERFACE -Wno-maybe-uninitialized)
  endif()
endif()
if(VRII_COVERAGE)
  target_compile_options(vrii_build INTERFACE --coverage)
  target_link_options(vrii_build INTERFACE --coverage)
endif()
if(VRII_FUZZ)
  target_compile_options(vrii_build INTERFACE -fsanitize=fuzzer-no-link)
endif()

# vrii_room(<name> <sources>... LINKS <rooms>...): one room of the house is one static library, linked
# only to the rooms that it may call.
function(vrii_room name)
  cmake_parse_arguments(PARSE_ARGV 1 room "" "" "LINKS")
  add_library(${name} STATIC ${room_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PUBLIC vrii_build ${room_LINKS})
endfunction()
