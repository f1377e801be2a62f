tlkc2_add_test(host
  SOURCES CommandReaderTest.cpp HostSessionTest.cpp LineReaderTest.cpp NativeControlDriverTest.cpp
  LINK tlkc2_tool_host tlkc2_control)

tlkc2_add_tlk_test(host_help "Usage: tlk host.*--script FILE.*request TYPE DATA TIMEOUT_MS"
  host --help)
tlkc2_add_tlk_test(host_missing_script "^tlk host: cannot read the script missing[.]txt\n$"
  host --script missing.txt)
