tlkc2_add_test(host
  SOURCES CommandReaderTest.cpp HostSessionTest.cpp LineReaderTest.cpp
  LINK tlkc2_tool_host)
