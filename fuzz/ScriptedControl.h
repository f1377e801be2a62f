#pragma once

#include "fuzz/Fuzzing.h"
#include "tests/scripted/ScriptedControl.h"
#include "transport/TraceLog.h"
#include "xml/pugixml/PugiDom.h"

namespace tlk::fuzz {

using test::OpenControl;
using ScriptedPorts = test::ScriptedPorts<PugiDomFactory>;

}  // namespace tlk::fuzz
