// The operations the keys and the side panel share. Each acts on the
// application record, shows its own message where it has one, and asks for
// a redraw; none of them blocks longer than a dialog the user is answering.
#pragma once

#include "app/app_state.h"

#include <string>

// [SECTION] The record

// The seed with the current type (framed by the seed's own camera).
void applySeed(AppState& s, const std::string& seed);
// A new random seed name with the current type, or with a random type too.
void randomSeed(AppState& s, bool randomType);
// A mutant of the current record at the "Сила мутаций" strength, then fit.
void mutateCurrent(AppState& s);
// The type table's row `row` with the current seed.
void selectType(AppState& s, int row);
// After the panel changed s.params or s.settings: the picture starts again
// (with another program when the type or precision changed); a finished
// edit (a slider released, a field confirmed) becomes one history entry.
void recordEdited(AppState& s, bool editFinished);

// [SECTION] History

void undo(AppState& s);
void redo(AppState& s);

// [SECTION] Camera and modes

void toggleDive(AppState& s);
void toggleLive(AppState& s);
void toggleFlight(AppState& s);
void toggleRotation(AppState& s);
// Leaves flight and puts the camera back to the seed's own framing.
void returnCamera(AppState& s);
// Frames the fractal on the next still picture.
void requestFit(AppState& s);
// The rotation centre onto a picked surface point (a hit); the lens focuses
// there unless the focus is locked.
void centreOnSurface(AppState& s, const Pick& p);
void toggleHelp(AppState& s);
// Borderless fullscreen and back to the exact windowed placement.
void toggleFullscreen(AppState& s);
void toggleInterface(AppState& s);
// The vsync setting takes effect at once.
void applyVsync(AppState& s);

// [SECTION] Files and photos

inline constexpr const char* kMsgNoOpenDialog =
    "Окно выбора файла недоступно: перетащите файл на окно программы, передайте путь "
    "в командной строке или введите его на вкладке «Архив»";
inline constexpr const char* kMsgNoSaveDialog =
    "Окно сохранения недоступно (нет портала рабочего стола и zenity): введите путь "
    "на вкладке «Архив»";
inline constexpr const char* kMsgPhotoCancelled = "Рендер отменён";

// Ctrl+S: the save dialog, else a message saying how to save instead.
void savePresetFlow(AppState& s);
// Ctrl+O: the open dialog for a preset or a PNG.
void openFileFlow(AppState& s);
// The in-app path field's ways in when no dialog exists. Both show their
// message; they return whether they succeeded.
// A leading "~" or "~/" stands for the home folder.
bool savePresetTo(AppState& s, const std::string& path);
bool openPath(AppState& s, const std::string& path);
// "~" and "~/…" as the home folder (empty `home`: the text as typed).
std::string expandHome(const std::string& typed, const std::string& home);
// "Скрестить…": a second preset or PNG is chosen and loaded without being
// applied; the offspring becomes current and is framed.
void crossbreedFlow(AppState& s);
// The same with a typed path; false (and the load's message) when it fails.
bool crossbreedWith(AppState& s, const std::string& path);
// P and the Render tab: a save dialog, then the tiled render at w×h with
// `samples` samples, written as a PNG with the preset inside.
void photoFlow(AppState& s, int w, int h, int samples);
// The photo into a typed path (".png" added when it has no extension), with
// the same messages; false when cancelled or not written.
bool photoTo(AppState& s, const std::string& path, int w, int h, int samples);
// The photo without its dialog: false when cancelled (Esc or the window's
// close); true otherwise, with `error` set when the file was not written.
bool writePhoto(AppState& s, const std::string& path, int w, int h, int samples, std::string& error);

// "Снять видео…" (the Render tab): a save dialog, then the film drawn from
// the last recorded path, else from the dive planned from the current view,
// at w×h, `fps` frames a second, `samples` per frame, at most `seconds` long.
// The view, modes and record are as before afterwards.
void filmFlow(AppState& s, int w, int h, int fps, int samples, double seconds);
// The same into a typed path (".mp4" added without an extension; a folder
// ending in '/' gets numbered PNGs); false when cancelled or not written.
bool filmTo(AppState& s, const std::string& path, int w, int h, int fps, int samples, double seconds);
// A recording finished in this session, which the film draws instead of a dive.
bool hasRecordedPath(const AppState& s);

// [SECTION] Queries

inline bool textFieldFocused(const AppState& s) { return s.input.textFocus; }
