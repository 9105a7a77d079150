// Whole-file helpers and the open/save flows without their dialogs.
// Paths are UTF-8. Failures are results, never exceptions.
#pragma once

#include "model/params.h"

#include <string>
#include <string_view>

bool readWholeFile(const std::string& path, std::string& out);
// Writes to a temporary file in the same folder, then renames it over `path`,
// so a crash or a full disk never leaves a truncated file.
bool writeFileAtomic(const std::string& path, std::string_view bytes);

// Toast texts of the file flows.
inline constexpr const char* kMsgPresetSaved = "Пресет сохранён";
inline constexpr const char* kMsgPresetNotSaved = "Не удалось сохранить пресет";
inline constexpr const char* kMsgCannotRead = "Не удалось прочитать файл";
inline constexpr const char* kMsgNoPresetInPng = "В этом PNG нет параметров Quorvan Telix";
inline constexpr const char* kMsgCannotOpen = "Не удалось открыть: ";
inline constexpr const char* kMsgLoaded = "Загружено: ";

// Decodes a preset file's bytes: a PNG when it has at least 9 bytes and begins
// with 0x89, else JSON; either dialect. On failure returns false and sets
// `message` to the text to show.
bool decodePresetBytes(std::string_view bytes, FractalParams& out, std::string& message);
// Reads and decodes a file without touching anything else.
bool loadPresetFile(const std::string& path, FractalParams& out, std::string& message);
// Writes the desktop preset (indent 2) atomically.
bool savePresetFile(const std::string& path, const FractalParams& p);

// "fractal_" + safe name of the seed + ".json".
std::string proposedPresetName(const std::string& seed);
// Letters and digits of any script, '_' and '-' stay; others become '_';
// cut to 40 characters; empty becomes "fractal".
std::string safeFileName(const std::string& seed);
