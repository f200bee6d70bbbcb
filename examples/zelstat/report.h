// The table on standard output.
#pragma once

#include "zelstat/measure.h"

namespace zelstat {

void Print(const FileResults& file);

}  // namespace zelstat
