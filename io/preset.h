// The preset document: a FractalParams as JSON. The reader takes the desktop
// dialect (every field) and the web dialect (seed and type only).
#pragma once

#include "io/json.h"
#include "model/params.h"

#include <string>

JsonValue presetToJson(const FractalParams& p);
// Throws std::runtime_error("неверный формат пресета") when the root is not an object.
FractalParams presetFromJson(const JsonValue& root);

// Convenience: the preset text at the given indentation (2 for files, 0 for PNG).
std::string presetText(const FractalParams& p, int indent);
