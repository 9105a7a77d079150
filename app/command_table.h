// The commands the keyboard runs, each written once: its keys, what it does,
// whether it repeats while held, and how the help overlay and the panel's
// tooltips name it. Dispatch, help and tooltips all read this one table, so a
// binding cannot change in one of them and not in the others.
#pragma once

#include "app/app_state.h"
#include "ui/help.h"

#include <cstdint>
#include <string>
#include <vector>

// A key and the modifiers it needs (platform::kModCtrl, kModShift). Ctrl must
// match as written. A chord without Shift also answers with Shift held,
// unless another chord binds the same key with Shift. Alt is never looked at.
struct KeyChord {
  int32_t key = 0;
  uint32_t mods = 0;
};

// The rows other code names: the panel's tooltips.
enum class CommandId {
  None,  // a mouse gesture, listed in help only
  Dive, Live, Mutate, Flight, Rotation, RandomSeed, RandomType, SelectType, Photo,
  SavePreset, OpenFile, Undo, Redo, HideInterface, Fullscreen, ReturnCamera, Help, Record,
};

struct Command {
  CommandId id = CommandId::None;
  const char* label = "";       // what it does, as help says it; "" keeps it out of help
  std::vector<KeyChord> keys;   // every chord that runs it; help names the first
  void (*run)(AppState&, int32_t key) = nullptr;
  bool repeats = false;         // runs again on the keyboard's auto-repeat
  bool joinsAbove = false;      // shares the help line above: "R / Shift+R"
  const char* shownKeys = nullptr;  // how help names the keys where the chords would mislead
};

// In the order help lists them.
const std::vector<Command>& commandTable();

// The command a key press runs with these modifiers, or null.
const Command* findCommand(int32_t key, uint32_t mods);

// "Ctrl+Shift+Z", "Пробел", "F1".
std::string chordName(const KeyChord& chord);

// A tooltip's text for a command: all its chords, ", " between them.
std::string commandKeys(CommandId id);

// The help overlay's lines, built from the table.
const std::vector<HelpLine>& helpLines();
