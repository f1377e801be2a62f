# Texts, and what reads and writes them.
find_package(EXPAT REQUIRED)
find_package(GTest REQUIRED)

tlkc2_add_fuzzer(gate
  SOURCES gate.cpp
  LINK tlkc2_xml EXPAT::EXPAT)
target_compile_definitions(fuzz_gate PRIVATE
  TLKC2_GATE_TEXTS="${PROJECT_SOURCE_DIR}/tests/xml/gate-texts.txt")

tlkc2_add_fuzzer(message SOURCES message.cpp LINK tlkc2_control tlkc2_scripted GTest::gtest)
