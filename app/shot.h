// The command-line shot: the client area read back, written as a PNG that
// carries the preset, plus a short report next to it.
#pragma once

#include "app/app_state.h"

#include <string>

// "<gpu>\nerror: <error>\nconverged: yes|timeout\ndist: %.3e\n"
std::string shotReport(const std::string& gpu, const std::string& error, bool converged, double dist);

// Whether files can be created in the folder of `path`: checked before a long
// render starts, so that minutes of work are not lost to a mistyped folder.
bool shotFolderWritable(const std::string& path);

// Reads the window back, writes `path` and `path`.log. Returns false when a
// file could not be written; `problem` then says which.
bool takeShot(AppState& s, const std::string& path, bool converged, std::string& problem);
