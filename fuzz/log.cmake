# What reads the trace log, in which others may have written.
tlkc2_add_fuzzer(log SOURCES log.cpp LINK tlkc2_tool_log)
