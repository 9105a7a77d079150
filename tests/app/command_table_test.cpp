// The command table: one command per chord, every bound row in the help, and
// modifiers picking the row.
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
}

TEST(CommandTable, ShiftPicksItsOwnRowElseIsIgnoredAndCtrlMustMatch) {
  auto id = [](int32_t key, uint32_t mods) {
    const Command* c = findCommand(key, mods);
    return c ? c->id : CommandId::None;
  };
  EXPECT_EQ(id('r', kModShift), CommandId::RandomType);
  EXPECT_EQ(id('r', kModAlt), CommandId::RandomSeed);
  EXPECT_EQ(id('v', kModShift), CommandId::Dive);
  EXPECT_EQ(id('z', kModCtrl | kModShift), CommandId::Redo);
  EXPECT_EQ(id('y', kModCtrl | kModShift), CommandId::Redo);
  EXPECT_EQ(id('0', kModShift), CommandId::SelectType);
  EXPECT_EQ(id('1', kModCtrl), CommandId::None);
  EXPECT_EQ(id('v', kModCtrl), CommandId::None);  // paste, a text field's key
  EXPECT_EQ(id('z', 0), CommandId::None);
  EXPECT_EQ(id(platform::kKeyEscape, 0), CommandId::None);
}

}  // namespace
