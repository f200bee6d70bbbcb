// The sizes as a chart.
#pragma once

#include <string>
#include <vector>

#include "zelstat/measure.h"

namespace zelstat {

// An SVG picture: for each file a bar a coder, as long as the coded size is in percent of the file.
std::string DrawChart(const std::vector<FileResults>& files);

// Writes a file that appears only when it is complete, in the place of one of the same name.
void WriteChart(const std::string& path, const std::string& picture);

}  // namespace zelstat
