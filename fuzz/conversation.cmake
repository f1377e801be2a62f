# What speaks with a peer.
find_package(GTest REQUIRED)
foreach(target frames connection)
  tlkc2_add_fuzzer(${target}
    SOURCES ${target}.cpp LINK tlkc2_control tlkc2_scripted GTest::gtest)
endforeach()
