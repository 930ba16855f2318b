#pragma once

#include "tools/inspect/EngineStart.h"
#include "tools/inspect/FileReport.h"

FileReport reportModel(const EngineFiles& files, const EngineStart& start);
