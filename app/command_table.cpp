// The keyboard's commands in one table, and the help lines and tooltips made from it.
#include "app/command_table.h"

#include "app/commands.h"
#include "app/film.h"
#include "model/assert.h"
#include "platform/platform.h"

#include <algorithm>

namespace {

using platform::kModCtrl;
using platform::kModShift;

void takePhoto(AppState& s, int32_t) {
  int w = 0, h = 0;
  platform::drawableSize(s.window, w, h);
  photoFlow(s, w, h, std::max(targetSampleCount(s), 64));
}

// Keys 1 … 9 pick the first nine rows of the type table, 0 the tenth.
void typeForDigit(AppState& s, int32_t key) { selectType(s, key == '0' ? 9 : key - '1'); }

std::vector<KeyChord> digitChords() {
  std::vector<KeyChord> keys;
  for (int32_t k = '1'; k <= '9'; ++k) keys.push_back({k, 0});
  keys.push_back({'0', 0});
  return keys;
}

// Mouse gestures have no row to run: dispatch handles them with the pointer.
Command gesture(const char* shownKeys, const char* label) {
  Command c;
  c.label = label;
  c.shownKeys = shownKeys;
  return c;
}

std::vector<Command> buildTable() {
  using Id = CommandId;
  return {
      gesture("ЛКМ", "вращать"),
      gesture("ПКМ, Shift+ЛКМ", "сдвигать"),
      gesture("Колесо", "зум (итерации растут сами)"),
      gesture("Двойной клик", "центр вращения на точке"),
      {Id::Dive, "погружение", {{'v'}}, [](AppState& s, int32_t) { toggleDive(s); }},
      {Id::Live, "живой режим", {{'l'}}, [](AppState& s, int32_t) { toggleLive(s); }},
      {Id::Mutate, "мутант", {{'n'}}, [](AppState& s, int32_t) { mutateCurrent(s); }, true},
      {Id::Flight, "свободный полёт, WASD/QE", {{'f'}}, [](AppState& s, int32_t) { toggleFlight(s); }},
      {Id::Rotation, "автовращение", {{platform::kKeySpace}}, [](AppState& s, int32_t) { toggleRotation(s); }},
      {Id::RandomSeed, "случайный сид", {{'r'}}, [](AppState& s, int32_t) { randomSeed(s, false); }, true},
      {Id::RandomType, "и тип", {{'r', kModShift}}, [](AppState& s, int32_t) { randomSeed(s, true); }, true, true},
      {Id::SelectType, "тип фрактала", digitChords(), typeForDigit, false, false, "1 … 0"},
      {Id::Photo, "снимок PNG", {{'p'}}, takePhoto},
      // A held Ctrl+S or Ctrl+O must not open a second dialog.
      {Id::SavePreset, "сохранить", {{'s', kModCtrl}}, [](AppState& s, int32_t) { savePresetFlow(s); }},
      {Id::OpenFile, "открыть пресет", {{'o', kModCtrl}}, [](AppState& s, int32_t) { openFileFlow(s); }, false,
       true},
      {Id::Undo, "отмена", {{'z', kModCtrl}}, [](AppState& s, int32_t) { undo(s); }, true},
      {Id::Redo, "повтор", {{'y', kModCtrl}, {'z', kModCtrl | kModShift}}, [](AppState& s, int32_t) { redo(s); },
       true, true},
      {Id::HideInterface, "скрыть интерфейс", {{'h'}}, [](AppState& s, int32_t) { toggleInterface(s); }},
      {Id::Fullscreen, "полный экран", {{platform::kKeyF11}}, [](AppState& s, int32_t) { toggleFullscreen(s); }},
      {Id::ReturnCamera, "вернуть камеру", {{'c'}}, [](AppState& s, int32_t) { returnCamera(s); }},
      // Esc closes the card too, but as an editing key dispatch sees it first.
      {Id::Help, "закрыть", {{platform::kKeyF1}, {platform::kKeySlash}}, [](AppState& s, int32_t) { toggleHelp(s); },
       false, false, "F1, Esc"},
      {Id::Record, "", {{'k'}}, [](AppState& s, int32_t) { toggleRecording(s); }},
  };
}

std::string keyName(int32_t key) {
  if ((key >= 'a' && key <= 'z') || (key >= '0' && key <= '9'))
    return std::string(1, char(key >= 'a' ? key - 'a' + 'A' : key));
  switch (key) {
    case platform::kKeySpace: return "Пробел";
    case platform::kKeySlash: return "/";
    case platform::kKeyF1: return "F1";
    case platform::kKeyF11: return "F11";
    default: break;
  }
  QTX_ASSERT(false, "give the key a name here before binding it");
  return "?";
}

}  // namespace

const std::vector<Command>& commandTable() {
  static const std::vector<Command> table = buildTable();
  return table;
}

const Command* findCommand(int32_t key, uint32_t mods) {
  const uint32_t wanted = mods & (kModCtrl | kModShift);
  const Command* withoutShift = nullptr;
  for (const Command& c : commandTable())
    for (const KeyChord& k : c.keys) {
      if (k.key != key) continue;
      if (k.mods == wanted) return &c;
      if (k.mods == (wanted & ~kModShift)) withoutShift = &c;
    }
  return withoutShift;
}

std::string chordName(const KeyChord& chord) {
  std::string name;
  if (chord.mods & kModCtrl) name += "Ctrl+";
  if (chord.mods & kModShift) name += "Shift+";
  return name + keyName(chord.key);
}

std::string commandKeys(CommandId id) {
  for (const Command& c : commandTable()) {
    if (c.id != id) continue;
    if (c.shownKeys) return c.shownKeys;
    std::string text;
    for (const KeyChord& k : c.keys) text += (text.empty() ? "" : ", ") + chordName(k);
    return text;
  }
  QTX_ASSERT(false, "name a row of the command table");
  return {};
}

const std::vector<HelpLine>& helpLines() {
  static const std::vector<HelpLine> lines = [] {
    std::vector<HelpLine> out;
    for (const Command& c : commandTable()) {
      if (!*c.label) continue;
      const std::string keys = c.shownKeys ? c.shownKeys : chordName(c.keys.front());
      if (c.joinsAbove && !out.empty()) {
        out.back().keys += " / " + keys;
        out.back().text += " / " + std::string(c.label);
      } else {
        out.push_back({keys, c.label});
      }
    }
    return out;
  }();
  return lines;
}
