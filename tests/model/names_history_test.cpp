// Seed names (random, stems, mutants) and the undo history.
#include "model/history.h"
#include "model/names.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <set>

TEST(Names, RandomNamesReadAloud) {
  std::set<std::string> seen;
  for (int i = 0; i < 300; ++i) {
    const std::string n = randomSeedName();
    ASSERT_EQ(std::count(n.begin(), n.end(), '_'), 2) << n;
    const size_t digits = n.size() - n.find_last_not_of("0123456789") - 1;
    ASSERT_TRUE(digits == 1 || digits == 2) << n;
    ASSERT_TRUE(digits == 1 || n[n.size() - 2] != '0') << "numbers are not padded: " << n;
    seen.insert(n);
  }
  EXPECT_GT(seen.size(), 250u);  // one engine, never reseeded between calls
}

TEST(Names, Stems) {
  EXPECT_EQ(seedStem("wild_dragon_alpha42·x7k"), "wild_dragon_alpha42");
  EXPECT_EQ(seedStem("a×b"), "a");
  EXPECT_EQ(seedStem("ab·c×d"), "ab");
  EXPECT_EQ(seedStem("·abc"), "forge");
  EXPECT_EQ(seedStem(""), "forge");
  EXPECT_EQ(seedStem(std::string(40, 'z')), std::string(32, 'z'));
  // Cut by bytes: the 17th Cyrillic letter straddles byte 32 and is halved.
  const std::string cyr = "ббббббббббббббббббббб";
  EXPECT_EQ(seedStem("x" + cyr).size(), 32u);
  EXPECT_EQ(seedStem("x" + cyr).back(), '\xD0');
}

TEST(Names, MutantsAndOffspring) {
  EXPECT_EQ(mutantName("cosmic_reef_sigma7", 0), "cosmic_reef_sigma7·000");
  EXPECT_EQ(mutantName("cosmic_reef_sigma7", 46655), "cosmic_reef_sigma7·zzz");
  EXPECT_EQ(mutantName("a·old", 1296 + 36 * 10 + 35), "a·1az");
  EXPECT_EQ(offspringName("a·x7k", "b×c"), "a×b");
  const std::string longA(32, 'a'), longB(32, 'b');
  const std::string child = offspringName(longA, longB);
  EXPECT_EQ(child.size(), 48u);
  EXPECT_EQ(child, longA + "×" + std::string(14, 'b'));
  // A mutant of an offspring of mutants stays bounded.
  EXPECT_EQ(seedStem(mutantName(child, 7)), longA);
}

TEST(History, PushCoalescesAndCaps) {
  History h;
  EXPECT_TRUE(pushHistory(h, "s0"));
  EXPECT_FALSE(pushHistory(h, "s0"));
  EXPECT_FALSE(undoHistory(h)) << "the starting state cannot be undone";
  EXPECT_EQ(h.undo.size(), 1u);

  for (int i = 1; i <= 100; ++i) pushHistory(h, "s" + std::to_string(i));
  EXPECT_EQ(h.undo.size(), 100u);
  EXPECT_EQ(h.undo.front(), "s1");
  int undone = 0;
  std::optional<std::string> last;
  while (auto s = undoHistory(h)) last = s, ++undone;
  EXPECT_EQ(undone, 99);
  EXPECT_EQ(last, "s1");
  EXPECT_EQ(h.redo.size(), 99u);
}

TEST(History, UndoRedo) {
  History h;
  for (const char* s : {"a", "b", "c"}) pushHistory(h, s);
  EXPECT_EQ(undoHistory(h), "b");
  EXPECT_EQ(undoHistory(h), "a");
  EXPECT_EQ(redoHistory(h), "b");
  // An unchanged state pushed again keeps the redo list.
  EXPECT_FALSE(pushHistory(h, "b"));
  EXPECT_EQ(redoHistory(h), "c");
  EXPECT_FALSE(redoHistory(h));
  EXPECT_EQ(undoHistory(h), "b");
  EXPECT_TRUE(pushHistory(h, "d"));
  EXPECT_FALSE(redoHistory(h)) << "a new state drops the redo list";
  EXPECT_EQ(h.undo, (std::deque<std::string>{"a", "b", "d"}));
}

TEST(History, RecentSeeds) {
  History h;
  addRecentSeed(h, "a", "menger");
  addRecentSeed(h, "a", "mandelbulb");
  addRecentSeed(h, "b", "menger");
  addRecentSeed(h, "a", "menger");
  EXPECT_EQ(h.recent, (std::vector<RecentSeed>{{"a", "menger"}, {"b", "menger"}, {"a", "mandelbulb"}}));
  for (int i = 0; i < 30; ++i) addRecentSeed(h, "s" + std::to_string(i), "kifs");
  ASSERT_EQ(h.recent.size(), 20u);
  EXPECT_EQ(h.recent.front().seed, "s29");
  EXPECT_EQ(h.recent.back().seed, "s10");
}
