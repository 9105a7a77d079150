// Undo/redo of whole states kept as preset text, and the recent seeds.
// The history only stores and hands back text; turning text into the current
// record, camera and renderer state is the application's business.
#pragma once

#include <deque>
#include <optional>
#include <string>
#include <vector>

inline constexpr const char* kNothingToUndo = "Нечего отменять";
inline constexpr const char* kNothingToRedo = "Нечего повторять";
inline constexpr size_t kHistoryLimit = 100;
inline constexpr size_t kRecentSeedLimit = 20;

struct RecentSeed {
  std::string seed;
  std::string type;
  bool operator==(const RecentSeed&) const = default;
};

struct History {
  std::deque<std::string> undo;   // last element is the state now shown
  std::vector<std::string> redo;  // top is the back
  std::vector<RecentSeed> recent; // newest first
};

// Appends a snapshot unless it equals the last one; returns whether it did.
bool pushHistory(History& h, std::string snapshot);
// The text to restore, or nothing (the caller shows kNothingToUndo / kNothingToRedo).
std::optional<std::string> undoHistory(History& h);
std::optional<std::string> redoHistory(History& h);
void addRecentSeed(History& h, const std::string& seed, const std::string& type);
