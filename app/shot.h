// The command-line shot: the client area read back, written as a PNG that
// carries the preset, plus a short report next to it.
#pragma once

#include "app/app_state.h"

#include <string>

// "<gpu>\nerror: <error>\nconverged: yes|timeout\ndist: %.3e\n"
std::string shotReport(const std::string& gpu, const std::string& error, bool converged, double dist);

// Checked before a long render starts, so that minutes of work are not lost
// and no picture is made of something else: the picture and its report can
// be written, and the file to render (if any) loads. `error` says why not.
bool shotInputsUsable(const LaunchOptions& o, std::string& error);

// Reads the window back, writes `path` and `path`.log. Returns false when a
// file could not be written; `error` then says which.
bool takeShot(AppState& s, const std::string& path, bool converged, std::string& error);

// A file manager's thumbnail: the window read back as a plain PNG at `path`
// (no preset inside, no report). False with `error` when it failed.
bool writeThumbnail(AppState& s, const std::string& path, std::string& error);
