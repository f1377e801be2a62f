# What speaks with a peer, a user or a disk.
tlkc2_add_fuzzer(frames SOURCES frames.cpp LINK tlkc2_control tlkc2_scripted)
