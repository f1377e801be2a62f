tlkc2_add_test(host
  SOURCES CommandReaderTest.cpp HostSessionTest.cpp
  LINK tlkc2_tool_host)

tlkc2_add_tlk_test(host_help "Usage: tlk host.*--script FILE.*request TYPE DATA TIMEOUT_MS"
  host --help)
tlkc2_add_tlk_test(host_missing_script "^tlk host: cannot read the script missing[.]txt\n$"
  host --script missing.txt)

if(WIN32)
  return()  # The console's test needs a server.
endif()
add_test(NAME tlk.console COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/console.sh $<TARGET_FILE:tlk>)
set_tests_properties(tlk.console PROPERTIES TIMEOUT 60)
