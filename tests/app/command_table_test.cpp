// The command table: one command per chord, modifiers picking the row, and the
// help lines and tooltips the user reads.
#include "app/command_table.h"
#include "platform/platform.h"

#include <gtest/gtest.h>

#include <set>
#include <utility>

namespace {

using platform::kModAlt;
using platform::kModCtrl;
using platform::kModShift;

TEST(CommandTable, EveryChordRunsOneCommandAndHelpNamesEveryListedRow) {
  std::set<std::pair<int32_t, uint32_t>> bound;
  for (const Command& c : commandTable()) {
    EXPECT_EQ(c.run == nullptr, c.keys.empty()) << c.label;
    for (const KeyChord& k : c.keys) EXPECT_TRUE(bound.insert({k.key, k.mods}).second) << chordName(k);
    if (!*c.label || c.keys.empty()) continue;
    const std::string name = c.shownKeys ? c.shownKeys : chordName(c.keys.front());
    bool listed = false;
    for (const HelpLine& l : helpLines()) listed |= l.keys.find(name) != std::string::npos;
    EXPECT_TRUE(listed) << name;
  }
  const auto& lines = helpLines();
  ASSERT_EQ(lines.size(), 18u);
  EXPECT_EQ(lines[2].keys, "Колесо");
  EXPECT_EQ(lines[2].text, "зум (итерации растут сами)");
  EXPECT_EQ(lines[9].keys, "R / Shift+R");
  EXPECT_EQ(lines[9].text, "случайный сид / и тип");
  EXPECT_EQ(lines[13].keys, "Ctrl+Z / Ctrl+Y");
  EXPECT_EQ(lines[13].text, "отмена / повтор");
  EXPECT_EQ(lines.back().keys, "F1, Esc");
  EXPECT_EQ(lines.back().text, "закрыть");
}

TEST(CommandTable, ShiftPicksItsOwnRowElseIsIgnoredAndCtrlMustMatch) {
  auto id = [](int32_t key, uint32_t mods) {
    const Command* c = findCommand(key, mods);
    return c ? c->id : CommandId::None;
  };
  EXPECT_EQ(id('r', 0), CommandId::RandomSeed);
  EXPECT_EQ(id('r', kModShift), CommandId::RandomType);
  EXPECT_EQ(id('r', kModAlt), CommandId::RandomSeed);
  EXPECT_EQ(id('v', kModShift), CommandId::Dive);
  EXPECT_EQ(id('z', kModCtrl), CommandId::Undo);
  EXPECT_EQ(id('z', kModCtrl | kModShift), CommandId::Redo);
  EXPECT_EQ(id('y', kModCtrl | kModShift), CommandId::Redo);
  EXPECT_EQ(id('0', kModShift), CommandId::SelectType);
  EXPECT_EQ(id('1', kModCtrl), CommandId::None);
  EXPECT_EQ(id('v', kModCtrl), CommandId::None);  // paste, a text field's key
  EXPECT_EQ(id('z', 0), CommandId::None);
  EXPECT_EQ(id(platform::kKeyEscape, 0), CommandId::None);

  EXPECT_EQ(commandKeys(CommandId::Redo), "Ctrl+Y, Ctrl+Shift+Z");
  EXPECT_EQ(commandKeys(CommandId::Rotation), "Пробел");
  EXPECT_EQ(commandKeys(CommandId::Record), "K");
}

}  // namespace
