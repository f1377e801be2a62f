# What a program is compiled with; everything else is private. Inside the project the includes are by
# folder ("log/iLogger.h"), as every source has them; the headers that are installed get them rewritten,
# <TlkC2/log/iLogger.h>, so that no folder of ours meets one of the program's.
set(public_headers
  control/NativeControl.h control/Outcome.h control/Tlkc.h
  log/MessageTexts.h log/QNLogger.h log/iLogger.h
  platform/CallingThread.h platform/ControlWindow.h platform/Export.h platform/Fork.h platform/Platform.h
  platform/Sockets.h platform/StandardOutput.h platform/StringTable.h platform/Utf8.h platform/Version.h
  platform/posix/MessageLoop.h platform/posix/PosixStringTable.h
  thread/LockResult.h thread/Reporter.h thread/SemaphoreWaiter.h thread/SpinWord.h thread/ThreadLayer.h
  thread/ZLocker.h thread/ZMutex.h thread/ZMutexBase.h thread/ZMutexComposite.h thread/ZRWLock.h
  thread/ZRefCount.h thread/ZSemaphore.h thread/ZThread.h
  xml/Codec.h xml/Dom.h xml/Failures.h xml/Gate.h xml/TLK_XMLBuilder.h xml/TLK_XMLParser.h)

# The one thing that ends a compilation at once, with a sentence, is an include that cannot be had.
set(language_check [[
#pragma once

#if __cplusplus < 202002L
#include "TlkC2 needs C++20 (-std=c++20)"
#endif
]])

set(public_include ${PROJECT_BINARY_DIR}/include)
file(CONFIGURE OUTPUT ${public_include}/TlkC2/platform/Language.h CONTENT "${language_check}")
foreach(header ${public_headers})
  set(source ${PROJECT_SOURCE_DIR}/${header})
  if(NOT EXISTS ${source})
    set(source ${PROJECT_BINARY_DIR}/generated/${header})
  endif()
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${source})
  file(READ ${source} text)
  string(REGEX MATCHALL "#include \"[^\"]+\"" includes "${text}")
  foreach(include ${includes})
    string(REGEX REPLACE "#include \"(.*)\"" "\\1" included "${include}")
    if(NOT included IN_LIST public_headers)
      message(FATAL_ERROR "${header} is installed and includes ${included}, which is not")
    endif()
  endforeach()
  string(REGEX REPLACE "#include \"([^\"]+)\"" "#include <TlkC2/\\1>" text "${text}")
  string(REPLACE "#pragma once\n" "#pragma once\n\n#include <TlkC2/platform/Language.h>\n" text "${text}")
  file(CONFIGURE OUTPUT ${public_include}/TlkC2/${header} CONTENT "${text}" @ONLY)
endforeach()
