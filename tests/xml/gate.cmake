find_package(EXPAT REQUIRED)

tlkc2_add_test(gate
  SOURCES GateTest.cpp GateHostileTest.cpp GateOracle.cpp
  LINK tlkc2_xml EXPAT::EXPAT tlkc2_scarce_memory)
target_compile_definitions(gate_test PRIVATE
  TLKC2_GATE_TEXTS="${CMAKE_CURRENT_SOURCE_DIR}/gate-texts.txt")
