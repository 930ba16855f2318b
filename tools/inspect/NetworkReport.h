#pragma once

#include "tools/inspect/EngineStart.h"
#include "tools/inspect/FileReport.h"

FileReport reportNetwork(const EngineFiles& files, const EngineStart& start);
