// Whole-file helpers and the open/save flows without their dialogs.
// Paths are UTF-8. Failures are results, never exceptions.
#pragma once

#include "model/params.h"

#include <string>
#include <string_view>

// What a file may weigh: presets and settings are a few kilobytes; a PNG
// must hold an 8K picture even when it hardly compresses.
inline constexpr size_t kTextFileLimit = size_t(4) << 20;
inline constexpr size_t kPngFileLimit = size_t(256) << 20;

// Reads a regular file of at most `limit` bytes. On failure `error` says why
// in Russian ("нет доступа", "это не обычный файл", ...).
bool readFileLimited(const std::string& path, size_t limit, std::string& out, std::string& error);
bool readWholeFile(const std::string& path, std::string& out);
// Writes the whole file or nothing: a reader sees the old or the new content,
// never a part (see io/os_files.h for what is refused and what is kept).
bool writeFileAtomic(const std::string& path, std::string_view bytes, std::string* error = nullptr);
// Whether `path` could be written, checked before work that would be lost.
bool canWriteFile(const std::string& path, std::string& error);
// "<lead> «<path>»: <error>", the one shape of every file error.
std::string fileProblem(const char* lead, const std::string& path, const std::string& error);

// Toast texts of the file flows.
inline constexpr const char* kMsgPresetSaved = "Пресет сохранён";
inline constexpr const char* kMsgPresetNotSaved = "Не удалось сохранить пресет";
inline constexpr const char* kMsgCannotRead = "Не удалось прочитать файл";
inline constexpr const char* kMsgCannotWrite = "Не удалось записать файл";
inline constexpr const char* kMsgDamagedPng = "повреждённый PNG";
inline constexpr const char* kMsgNoPresetInPng = "В этом PNG нет параметров Quorvan Telix";
inline constexpr const char* kMsgCannotOpen = "Не удалось открыть: ";
inline constexpr const char* kMsgLoaded = "Загружено: ";

// Decodes a preset file's bytes: a PNG when it begins with 0x89 and "PNG",
// else JSON; either dialect; every number brought into its safe range. On
// failure returns false and sets `error` to the text to show.
bool decodePresetBytes(std::string_view bytes, FractalParams& out, std::string& error);
// Reads and decodes a file without touching anything else. The error names
// the file.
bool loadPresetFile(const std::string& path, FractalParams& out, std::string& error);
// Writes the desktop preset (indent 2) atomically.
bool savePresetFile(const std::string& path, const FractalParams& p, std::string* error = nullptr);

// "fractal_" + safe name of the seed + ".json".
std::string proposedPresetName(const std::string& seed);
// Letters and digits of any script, '_' and '-' stay; others become '_';
// cut to 40 characters; empty becomes "fractal".
std::string safeFileName(const std::string& seed);
