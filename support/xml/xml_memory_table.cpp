#include "xml_memory_table.h"

#include <thread>

namespace {

constexpr uint32_t kFirstLevelPlaces = 64;
constexpr unsigned kLevels = 20;       // each twice as large as the one before
constexpr unsigned kHandlesTried = 8;  // before a level counts as full

struct Level {
  std::atomic<XmlMemSession *> places;
  std::atomic<uint32_t> readers;  // hold a level in place while they look at it
  uint32_t open;                  // guarded by g_levelsBusy
};

alignas(kCacheLine) constinit XmlMemSession g_firstLevel[kFirstLevelPlaces] = {};
constinit Level g_levels[kLevels] = {};  // the first entry stays unused
constinit std::atomic<unsigned> g_levelsEnd{1};
constinit std::atomic<uint32_t> g_lastHandle{0};
constinit std::atomic_flag g_levelsBusy;
constinit uint32_t g_openInLevels = 0;  // guarded by g_levelsBusy

// Held for a few steps only, by programs with many sessions open at once.
class LevelsLock {
 public:
  LevelsLock() {
    while (g_levelsBusy.test_and_set(std::memory_order_acquire)) std::this_thread::yield();
  }
  ~LevelsLock() { g_levelsBusy.clear(std::memory_order_release); }
  LevelsLock(const LevelsLock &) = delete;
  LevelsLock &operator=(const LevelsLock &) = delete;
};

uint32_t nextHandle() {
  uint32_t handle = 0;
  while (handle == 0 || handle == kSeveralSessions)
    handle = g_lastHandle.fetch_add(1, std::memory_order_relaxed) + 1;
  return handle;
}

constexpr uint32_t placesOf(unsigned level) { return kFirstLevelPlaces << level; }

XmlMemSession &placeIn(XmlMemSession *places, unsigned level, uint32_t handle) {
  return places[handle & (placesOf(level) - 1)];
}

XmlMemSession *findInLevel(unsigned level, uint32_t handle) {
  Level &shelf = g_levels[level];
  shelf.readers.fetch_add(1);
  XmlMemSession *places = shelf.places.load();
  XmlMemSession *found = nullptr;
  if (places != nullptr) {
    XmlMemSession &place = placeIn(places, level, handle);
    if (place.handle.load(std::memory_order_acquire) == handle) found = &place;
  }
  shelf.readers.fetch_sub(1);
  return found;
}

bool claim(XmlMemSession &place, uint32_t handle) {
  uint32_t free = 0;
  return place.handle.compare_exchange_strong(free, handle, std::memory_order_acq_rel);
}

XmlMemSession *openInFirstLevel() {
  for (unsigned tried = 0; tried < kHandlesTried; ++tried) {
    const uint32_t handle = nextHandle();
    if (findSession(handle) != nullptr) continue;
    XmlMemSession &place = placeIn(g_firstLevel, 0, handle);
    if (claim(place, handle)) return &place;
  }
  return nullptr;
}

XmlMemSession *openInLevel(unsigned level, uint32_t handle) {
  XmlMemSession *places = g_levels[level].places.load();
  if (places == nullptr) return nullptr;
  XmlMemSession &place = placeIn(places, level, handle);
  if (!claim(place, handle)) return nullptr;
  place.tableLevel = static_cast<uint8_t>(level);
  ++g_levels[level].open;
  ++g_openInLevels;
  return &place;
}

XmlMemSession *openInExistingLevels() {
  for (unsigned tried = 0; tried < kHandlesTried; ++tried) {
    const uint32_t handle = nextHandle();
    if (findSession(handle) != nullptr) continue;
    for (unsigned level = g_levelsEnd.load() - 1; level > 0; --level) {
      if (XmlMemSession *place = openInLevel(level, handle)) return place;
    }
  }
  return nullptr;
}

XmlMemSession *openInNewLevel() {
  unsigned level = 1;
  while (level < kLevels && g_levels[level].places.load() != nullptr) ++level;
  if (level == kLevels) return nullptr;
  void *places = XML_Calloc(placesOf(level), sizeof(XmlMemSession));
  if (places == nullptr) return nullptr;
  g_levels[level].places.store(static_cast<XmlMemSession *>(places));
  if (g_levelsEnd.load() <= level) g_levelsEnd.store(level + 1);
  uint32_t handle = nextHandle();
  while (findSession(handle) != nullptr) handle = nextHandle();
  return openInLevel(level, handle);
}

// A reader that saw the level before it was taken out of the table may still be looking at it.
void giveBackLevel(Level &shelf) {
  XmlMemSession *places = shelf.places.exchange(nullptr);
  while (shelf.readers.load() != 0) {
  }
  XML_Free(nullptr, places);
}

// Gives empty levels back, but for one while other levels are in use, lest a program that opens and
// ends sessions at the edge of a level should have it made and given back each time.
void giveBackEmptyLevels() {
  bool keepsOne = g_openInLevels > 0;
  for (unsigned level = 1; level < kLevels; ++level) {
    Level &shelf = g_levels[level];
    if (shelf.places.load() == nullptr || shelf.open > 0) continue;
    if (!keepsOne) giveBackLevel(shelf);
    keepsOne = false;
  }
}

}  // namespace

XmlMemSession *findSession(uint32_t handle) {
  if (handle == 0) return nullptr;
  XmlMemSession &place = placeIn(g_firstLevel, 0, handle);
  if (place.handle.load(std::memory_order_acquire) == handle) return &place;
  const unsigned end = g_levelsEnd.load(std::memory_order_acquire);
  for (unsigned level = 1; level < end; ++level) {
    if (XmlMemSession *found = findInLevel(level, handle)) return found;
  }
  return nullptr;
}

XmlMemSession *openPlace() {
  if (XmlMemSession *place = openInFirstLevel()) return place;
  const LevelsLock lock;
  if (XmlMemSession *place = openInExistingLevels()) return place;
  return openInNewLevel();
}

void closePlace(XmlMemSession &session) {
  const unsigned level = session.tableLevel;
  session.blockCount = 0;
  session.firstBlock = nullptr;
  session.lastBlock = nullptr;
  session.newestTree = nullptr;
  session.widestEarlier = 0;
  session.tableLevel = 0;
  session.hasDocument = false;
  session.ties = nullptr;
  session.keptTexts = nullptr;
  session.keptAttributes = nullptr;
  if (level == 0) {
    session.handle.store(0, std::memory_order_release);
    return;
  }
  const LevelsLock lock;
  session.handle.store(0, std::memory_order_release);
  --g_openInLevels;
  if (--g_levels[level].open == 0) giveBackEmptyLevels();
}
