#pragma once

#include "tools/inspect/EngineStart.h"
#include "tools/inspect/FileReport.h"

FileReport reportAppTable(const EngineFiles& files, const EngineStart& start);
FileReport reportUsage(const EngineFiles& files, const EngineStart& start);
