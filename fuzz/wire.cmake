# What tools make of what is on the wire.
tlkc2_add_fuzzer(wire SOURCES wire.cpp LINK tlkc2_tool_message)
