#pragma once

#include <string>

/// The number of a mask's mode: "gaussian" (4), "gaussian-" (5), "gaussian_smooth" (6), "gaussian_smooth-"
/// (7); ValueError for another name.
unsigned int mask_mode(const std::string& mode);
