find_package(EXPAT REQUIRED)

tlkc2_add_test(gate
  SOURCES GateTest.cpp GateHostileTest.cpp GateOracle.cpp
  LINK tlkc2_xml EXPAT::EXPAT)
