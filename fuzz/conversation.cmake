# What speaks with a peer, a user or a disk.
tlkc2_add_fuzzer(frames SOURCES frames.cpp LINK tlkc2_control tlkc2_scripted)
tlkc2_add_fuzzer(commands SOURCES commands.cpp LINK tlkc2_tool_host)
tlkc2_add_fuzzer(rotation SOURCES rotation.cpp LINK tlkc2_log tlkc2_scripted)
