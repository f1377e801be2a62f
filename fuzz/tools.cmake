# What people write for the server of the tool, and what passes through it.
foreach(target scripts passed_on)
  tlkc2_add_fuzzer(${target} SOURCES ${target}.cpp LINK tlkc2_tool_serve)
endforeach()
