find_package(EXPAT REQUIRED)

tlkc2_add_test(gate
  SOURCES GateTest.cpp GateHostileTest.cpp GateOracle.cpp ScarceMemory.cpp
  LINK tlkc2_xml EXPAT::EXPAT)
target_compile_definitions(gate_test PRIVATE
  TLKC2_GATE_TEXTS="${CMAKE_CURRENT_SOURCE_DIR}/gate-texts.txt")
