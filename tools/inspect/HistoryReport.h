#pragma once

#include "tools/inspect/FileReport.h"

FileReport reportHistory(const EngineFiles& files);
