// Undo/redo lists of preset text and the recent-seed list.
#include "model/history.h"

#include <algorithm>

bool pushHistory(History& h, std::string snapshot) {
  // Identical states coalesce, so a push without a change never costs the redo list.
  if (!h.undo.empty() && h.undo.back() == snapshot) return false;
  h.undo.push_back(std::move(snapshot));
  if (h.undo.size() > kHistoryLimit) h.undo.pop_front();
  h.redo.clear();
  return true;
}

std::optional<std::string> undoHistory(History& h) {
  // The first entry is the starting state: there is nothing before it.
  if (h.undo.size() < 2) return std::nullopt;
  h.redo.push_back(std::move(h.undo.back()));
  h.undo.pop_back();
  return h.undo.back();
}

std::optional<std::string> redoHistory(History& h) {
  if (h.redo.empty()) return std::nullopt;
  h.undo.push_back(std::move(h.redo.back()));
  h.redo.pop_back();
  return h.undo.back();
}

void addRecentSeed(History& h, const std::string& seed, const std::string& type) {
  RecentSeed entry{seed, type};
  std::erase(h.recent, entry);
  h.recent.insert(h.recent.begin(), std::move(entry));
  if (h.recent.size() > kRecentSeedLimit) h.recent.resize(kRecentSeedLimit);
}
