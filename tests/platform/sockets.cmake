tlkc2_add_test(message_loop SOURCES MessageLoopTest.cpp LINK tlkc2_platform)
