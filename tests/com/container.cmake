# The control as containers use it.
tlkc2_add_test(container
  SOURCES AutomationTest.cpp ConnectionTest.cpp EventsTest.cpp IdentityTest.cpp InPlaceTest.cpp
    LongRunTest.cpp LookTest.cpp PersistenceTest.cpp
  LINK tlkc2_platform tlkc2_idl ole32 oleaut32 uuid gdi32 shlwapi user32 ws2_32)
set_target_properties(container_test PROPERTIES RUNTIME_OUTPUT_DIRECTORY $<TARGET_FILE_DIR:TlkC2>)
add_dependencies(container_test TlkC2)
