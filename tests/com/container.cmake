# The control as containers use it.
tlkc2_add_test(container
  SOURCES AutomationTest.cpp ConnectionTest.cpp EventsTest.cpp IdentityTest.cpp InPlaceTest.cpp
    PersistenceTest.cpp
  LINK tlkc2_platform tlkc2_idl ole32 oleaut32 uuid gdi32 shlwapi user32 ws2_32)
set_target_properties(container_test PROPERTIES RUNTIME_OUTPUT_DIRECTORY $<TARGET_FILE_DIR:TlkC2>)
add_dependencies(container_test TlkC2)
target_compile_definitions(container_test PRIVATE
  TLKC2_IN_PLACE_LIFE="${CMAKE_CURRENT_SOURCE_DIR}/in-place-life.txt")
