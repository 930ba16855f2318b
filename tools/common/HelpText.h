#pragma once

#include "tools/common/Verb.h"

// What --help prints, laid out for 80 columns.
std::string helpText(const Program& program);
std::string helpText(const Program& program, const Verb& verb);

// The verbs alone, for who has named none.
std::string overview(const Program& program);
