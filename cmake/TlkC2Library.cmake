# What every target of this project is built with.
add_library(tlkc2_options INTERFACE)
target_compile_options(tlkc2_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
# Whoever builds it, and wherever, it is the same to the last byte.
target_compile_options(tlkc2_options INTERFACE
  -ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -ffile-prefix-map=${PROJECT_BINARY_DIR}=.)
if(WIN32)
  target_link_options(tlkc2_options INTERFACE -Wl,--no-insert-timestamp)
  target_compile_definitions(tlkc2_options INTERFACE
    NOMINMAX WIN32_LEAN_AND_MEAN WINVER=0x0601 _WIN32_WINNT=0x0601)
  # Nothing but the system's own libraries beside the program.
  target_link_options(tlkc2_options INTERFACE -static)
endif()
if(TLKC2_SANITIZE)
  target_compile_options(tlkc2_options INTERFACE
    -fsanitize=${TLKC2_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(tlkc2_options INTERFACE -fsanitize=${TLKC2_SANITIZE})
endif()
if(NOT TLKC2_SANITIZE)
  include(cmake/Hardening.cmake)
endif()
if(TLKC2_FUZZ)
  target_compile_options(tlkc2_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

set_property(GLOBAL PROPERTY TLKC2_LIBRARIES)

# tlkc2_add_library(NAME SOURCES... [LINK LIBRARIES...] [PRIVATE LIBRARIES...])
#
# A folder of the house as a static library of its own, with the headers of the whole tree in reach
# and only the libraries named here to link with.
function(tlkc2_add_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINK;PRIVATE")
  add_library(tlkc2_${name} STATIC ${arg_SOURCES})
  set_target_properties(tlkc2_${name} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  target_compile_features(tlkc2_${name} PUBLIC cxx_std_20)
  target_include_directories(tlkc2_${name} PUBLIC ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR}/generated)
  target_link_libraries(tlkc2_${name}
    PUBLIC ${arg_LINK}
    PRIVATE tlkc2_options ${arg_PRIVATE})
  set_property(GLOBAL APPEND PROPERTY TLKC2_LIBRARIES tlkc2_${name})
endfunction()
