#pragma once

#include "tools/inspect/EngineStart.h"
#include "tools/inspect/FileReport.h"

// The reports of the small text files.
FileReport reportAppTable(const EngineFiles& files, const EngineStart& start);
FileReport reportHistory(const EngineFiles& files);
FileReport reportUsage(const EngineFiles& files, const EngineStart& start);
FileReport reportEvaluation(const EngineFiles& files, const EngineStart& start);
