#pragma once
// Numbers and names as people read them.

#include <string>

namespace arvessa::tools {

std::string fixed(double value, int decimals);

// "44.76 s in 0.12 s (373 x real time)"
std::string speedText(double audioSeconds, double elapsedSeconds);

// A file's name, also where it is empty.
std::string shownName(const std::string& name);

}  // namespace arvessa::tools
