# Texts, and what reads and writes them.
find_package(EXPAT REQUIRED)
find_package(GTest REQUIRED)

tlkc2_add_fuzzer(gate
  SOURCES gate.cpp
  LINK tlkc2_xml EXPAT::EXPAT)

tlkc2_add_fuzzer(message SOURCES message.cpp LINK tlkc2_control tlkc2_scripted GTest::gtest)
