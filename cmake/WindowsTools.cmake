# What Debian has for Linux but not for mingw-w64: header libraries are lent, GoogleTest is built.

# CLI11 and Asio are headers alone, but the folder they lie in holds Linux's own headers too, so they get
# a folder of their own.
find_path(TLKC2_HEADER_LIBRARIES NAMES CLI/CLI.hpp asio.hpp PATHS /usr/include REQUIRED
  NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
set(lent ${PROJECT_BINARY_DIR}/lent)
file(MAKE_DIRECTORY ${lent})
foreach(header CLI asio asio.hpp)
  file(CREATE_LINK ${TLKC2_HEADER_LIBRARIES}/${header} ${lent}/${header} SYMBOLIC)
endforeach()
add_library(tlkc2_lent INTERFACE)
target_include_directories(tlkc2_lent SYSTEM INTERFACE ${lent})
add_library(CLI11::CLI11 ALIAS tlkc2_lent)

if(TLKC2_TESTS)
  add_subdirectory(/usr/src/googletest ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
  foreach(library gtest gtest_main gmock)
    target_compile_options(${library} PRIVATE -O0)  # It takes longer to optimise than to run.
    get_target_property(headers ${library} INTERFACE_INCLUDE_DIRECTORIES)
    set_target_properties(${library} PROPERTIES INTERFACE_SYSTEM_INCLUDE_DIRECTORIES "${headers}")
  endforeach()
  foreach(library gmock gtest_main)
    if(NOT TARGET GTest::${library})
      add_library(GTest::${library} ALIAS ${library})
    endif()
  endforeach()
endif()
