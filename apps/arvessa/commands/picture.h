// SPDX-License-Identifier: Apache-2.0
#pragma once
// Pictures, drawn by Matplotlib: the scripts of pictures/ run in a process of their own.

#include <string>
#include <vector>

namespace arvessa::app {

// A script that is installed in share/arvessa, or lies where the build has put it.
enum class PictureScript { kBeams, kRecording };

// Throws a Failure that says what is missing unless the script could run here.
void checkCanDraw(PictureScript script, const std::string& picture);

// Writes the PNG file `picture`; the script is given `arguments`.
void drawPicture(PictureScript script, const std::vector<std::string>& arguments,
                 const std::string& picture);

}  // namespace arvessa::app
