#include "memory/session_table.h"

namespace neb::xml::internal {

namespace {

constexpr uint32_t kFirstLevelPlaces = 64;
constexpr unsigned kLevels = 20;       // each twice as large as the one before
constexpr unsigned kHandlesTried = 8;  // before a level counts as full
constexpr uint32_t kClosed = uint32_t{1} << 31;

// One word counts the sessions open in a level and the lookups that are under way in it. A level
// that nobody uses can be closed, and then is entered by nobody until it is open again. So its
// places are freed without waiting for anyone: a thread that is held up in here, or that a fork has
// left behind, holds nobody up.
struct Level {
  std::atomic<XmlMemSession *> places;
  std::atomic<uint32_t> users;
};

alignas(kCacheLine) constinit XmlMemSession g_firstLevel[kFirstLevelPlaces] = {};
constinit Level g_levels[kLevels] = {};  // the first entry stays unused
constinit std::atomic<unsigned> g_levelsEnd{1};
constinit std::atomic<uint32_t> g_openInLevels{0};
constinit std::atomic<uint32_t> g_lastHandle{0};

uint32_t nextHandle() {
  uint32_t handle = 0;
  while (handle == 0 || handle == kSeveralSessions) {
    handle = g_lastHandle.fetch_add(1, std::memory_order_relaxed) + 1;
  }
  return handle;
}

constexpr uint32_t placesOf(unsigned level) { return kFirstLevelPlaces << level; }

XmlMemSession &placeIn(XmlMemSession *places, unsigned level, uint32_t handle) {
  return places[handle & (placesOf(level) - 1)];
}

// Whoever uses the level now will find it unused, and come here in turn.
void freeUnlessUsed(Level &level) {
  uint32_t unused = 0;
  if (!level.users.compare_exchange_strong(unused, kClosed)) return;
  XmlMemSession *places = level.places.exchange(nullptr);
  level.users.fetch_sub(kClosed);
  XML_Free(nullptr, places);
}

// Frees unused levels, but for one while other levels are in use, lest a program that opens and
// ends sessions at the edge of a level should have it made and freed each time.
void freeUnusedLevels() {
  bool keepsOne = g_openInLevels.load() > 0;
  const unsigned end = g_levelsEnd.load();
  for (unsigned level = 1; level < end; ++level) {
    Level &unused = g_levels[level];
    if (unused.places.load() == nullptr || unused.users.load() != 0) continue;
    if (!keepsOne) freeUnlessUsed(unused);
    keepsOne = false;
  }
}

void leave(Level &level) {
  if (level.users.fetch_sub(1) == 1) freeUnusedLevels();
}

// Keeps a level in place while its places are looked at.
class Visit {
 public:
  explicit Visit(Level &level) : level_(level) {
    isClosed_ = (level_.users.fetch_add(1) & kClosed) != 0;
  }
  ~Visit() {
    if (!stays_) leave(level_);
  }
  Visit(const Visit &) = delete;
  Visit &operator=(const Visit &) = delete;

  // Null where the level has none.
  XmlMemSession *places() const { return isClosed_ ? nullptr : level_.places.load(); }

  // False if the level has got other places meanwhile, or is closed.
  bool providePlaces(XmlMemSession *places) {
    XmlMemSession *none = nullptr;
    return !isClosed_ && level_.places.compare_exchange_strong(none, places);
  }

  // For a session that is open from now on.
  void stay() { stays_ = true; }

 private:
  Level &level_;
  bool isClosed_;
  bool stays_ = false;
};

XmlMemSession *findInLevel(unsigned level, uint32_t handle) {
  if (g_levels[level].places.load() == nullptr) return nullptr;
  const Visit visit(g_levels[level]);
  XmlMemSession *places = visit.places();
  if (places == nullptr) return nullptr;
  XmlMemSession &place = placeIn(places, level, handle);
  return place.handle.load(std::memory_order_acquire) == handle ? &place : nullptr;
}

bool claim(XmlMemSession &place, uint32_t handle) {
  uint32_t free = 0;
  return place.handle.compare_exchange_strong(free, handle, std::memory_order_acq_rel);
}

uint32_t unusedHandle() {
  uint32_t handle = nextHandle();
  while (findSession(handle) != nullptr) handle = nextHandle();
  return handle;
}

XmlMemSession *openInFirstLevel() {
  for (unsigned tried = 0; tried < kHandlesTried; ++tried) {
    const uint32_t handle = unusedHandle();
    XmlMemSession &place = placeIn(g_firstLevel, 0, handle);
    if (claim(place, handle)) return &place;
  }
  return nullptr;
}

XmlMemSession *openIn(Visit &visit, unsigned level, uint32_t handle) {
  XmlMemSession *places = visit.places();
  if (places == nullptr) return nullptr;
  XmlMemSession &place = placeIn(places, level, handle);
  if (!claim(place, handle)) return nullptr;
  place.tableLevel = static_cast<uint8_t>(level);
  g_openInLevels.fetch_add(1);
  visit.stay();
  return &place;
}

XmlMemSession *openInExistingLevels() {
  for (unsigned tried = 0; tried < kHandlesTried; ++tried) {
    const uint32_t handle = unusedHandle();
    for (unsigned level = g_levelsEnd.load() - 1; level > 0; --level) {
      if (g_levels[level].places.load() == nullptr) continue;
      Visit visit(g_levels[level]);
      if (XmlMemSession *place = openIn(visit, level, handle)) return place;
    }
  }
  return nullptr;
}

void extendLookups(unsigned level) {
  unsigned end = g_levelsEnd.load();
  while (end <= level && !g_levelsEnd.compare_exchange_weak(end, level + 1)) {
  }
}

bool canGetPlaces(const Level &level) {
  return level.places.load() == nullptr && (level.users.load() & kClosed) == 0;
}

// The smallest level that has no places; kLevels if there is none.
unsigned missingLevel() {
  unsigned level = 1;
  while (level < kLevels && !canGetPlaces(g_levels[level])) ++level;
  return level;
}

// Makes a level and opens a session in it. Null when other threads were faster, and with *isFull
// set when there is no memory for another level.
XmlMemSession *openInNewLevel(bool *isFull) {
  const unsigned level = missingLevel();
  void *memory = level < kLevels ? XML_Calloc(placesOf(level), sizeof(XmlMemSession)) : nullptr;
  *isFull = memory == nullptr;
  if (*isFull) return nullptr;
  auto *places = static_cast<XmlMemSession *>(memory);
  Visit visit(g_levels[level]);
  if (!visit.providePlaces(places)) {
    XML_Free(nullptr, places);
    return nullptr;
  }
  extendLookups(level);
  return openIn(visit, level, unusedHandle());
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
  XmlMemSession *place = openInFirstLevel();
  bool isFull = false;
  while (place == nullptr && !isFull) {
    place = openInExistingLevels();
    if (place == nullptr) place = openInNewLevel(&isFull);
  }
  return place;
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
  session.handle.store(0, std::memory_order_release);
  if (level == 0) return;
  g_openInLevels.fetch_sub(1);
  leave(g_levels[level]);
}

}  // namespace neb::xml::internal
