#include "memory/session_table.h"

#include "memory/hooks.h"

namespace neb::xml::internal {

namespace {

constexpr uint32_t kFirstLevelEntries = 64;
constexpr unsigned kLevels = 20;       // each twice as large as the one before
constexpr unsigned kHandlesTried = 8;  // before a level counts as full
constexpr uint32_t kClosed = uint32_t{1} << 31;

// One word counts the sessions open in a level and the lookups that are under way in it. A level
// that nobody uses can be closed, and then is entered by nobody until it is open again. So its
// entries are freed without waiting for anyone: a thread that is held up in here, or that a fork
// has left behind, holds nobody up.
struct TableLevel {
  platform::Atomic<XmlMemSession *> entries;
  platform::Atomic<uint32_t> users;
};

alignas(kCacheLine) constinit XmlMemSession g_firstLevel[kFirstLevelEntries] = {};
constinit TableLevel g_levels[kLevels] = {};  // the first entry stays unused
constinit platform::Atomic<unsigned> g_levelsEnd{1};
constinit platform::Atomic<uint32_t> g_openInLevels{0};
constinit platform::Atomic<uint32_t> g_lastHandle{0};

uint32_t nextHandle() {
  uint32_t handle = 0;
  while (handle == 0 || handle == kSeveralSessions) {
    handle = g_lastHandle.fetch_add(1, std::memory_order_relaxed) + 1;
  }
  return handle;
}

constexpr uint32_t entriesOf(unsigned level) { return kFirstLevelEntries << level; }

XmlMemSession &entryIn(XmlMemSession *entries, unsigned level, uint32_t handle) {
  return entries[handle & (entriesOf(level) - 1)];
}

// Whoever uses the level now will find it unused, and come here in turn.
void freeUnlessUsed(TableLevel &level) {
  uint32_t unused = 0;
  if (!level.users.compare_exchange_strong(unused, kClosed)) return;
  XmlMemSession *entries = level.entries.exchange(nullptr);
  level.users.fetch_sub(kClosed);
  freeOnHeap(entries);
}

// Frees unused levels, except one, while sessions are open in larger levels. Otherwise a program
// that opens and ends sessions at the edge of a level could allocate and free it each time.
void freeUnusedLevels() {
  bool keepsOne = g_openInLevels.load() > 0;
  const unsigned end = g_levelsEnd.load();
  for (unsigned level = 1; level < end; ++level) {
    TableLevel &unused = g_levels[level];
    if (unused.entries.load() == nullptr || unused.users.load() != 0) continue;
    if (!keepsOne) freeUnlessUsed(unused);
    keepsOne = false;
  }
}

void leave(TableLevel &level) {
  if (level.users.fetch_sub(1) == 1) freeUnusedLevels();
}

// Keeps a level alive while its entries are looked at.
class Visit {
 public:
  explicit Visit(TableLevel &level) : level_(level) {
    isClosed_ = (level_.users.fetch_add(1) & kClosed) != 0;
  }
  ~Visit() {
    if (!stays_) leave(level_);
  }
  Visit(const Visit &) = delete;
  Visit &operator=(const Visit &) = delete;

  // Null where the level has none.
  XmlMemSession *entries() const { return isClosed_ ? nullptr : level_.entries.load(); }

  // False if the level has got other entries meanwhile, or is closed.
  bool provideEntries(XmlMemSession *entries) {
    XmlMemSession *none = nullptr;
    return !isClosed_ && level_.entries.compare_exchange_strong(none, entries);
  }

  // For a session that is open from now on.
  void stay() { stays_ = true; }

 private:
  TableLevel &level_;
  bool isClosed_;
  bool stays_ = false;
};

XmlMemSession *findInLevel(unsigned level, uint32_t handle) {
  if (g_levels[level].entries.load() == nullptr) return nullptr;
  const Visit visit(g_levels[level]);
  XmlMemSession *entries = visit.entries();
  if (entries == nullptr) return nullptr;
  XmlMemSession &entry = entryIn(entries, level, handle);
  return entry.handle.load(std::memory_order_acquire) == handle ? &entry : nullptr;
}

bool claim(XmlMemSession &entry, uint32_t handle) {
  uint32_t free = 0;
  return entry.handle.compare_exchange_strong(free, handle, std::memory_order_acq_rel);
}

uint32_t unusedHandle() {
  uint32_t handle = nextHandle();
  while (findSession(handle) != nullptr) handle = nextHandle();
  return handle;
}

XmlMemSession *openInFirstLevel() {
  for (unsigned tried = 0; tried < kHandlesTried; ++tried) {
    const uint32_t handle = unusedHandle();
    XmlMemSession &entry = entryIn(g_firstLevel, 0, handle);
    if (claim(entry, handle)) return &entry;
  }
  return nullptr;
}

XmlMemSession *openIn(Visit &visit, unsigned level, uint32_t handle) {
  XmlMemSession *entries = visit.entries();
  if (entries == nullptr) return nullptr;
  XmlMemSession &entry = entryIn(entries, level, handle);
  if (!claim(entry, handle)) return nullptr;
  entry.tableLevel = static_cast<uint8_t>(level);
  g_openInLevels.fetch_add(1);
  visit.stay();
  return &entry;
}

XmlMemSession *openInExistingLevels() {
  for (unsigned tried = 0; tried < kHandlesTried; ++tried) {
    const uint32_t handle = unusedHandle();
    for (unsigned level = g_levelsEnd.load() - 1; level > 0; --level) {
      if (g_levels[level].entries.load() == nullptr) continue;
      Visit visit(g_levels[level]);
      if (XmlMemSession *entry = openIn(visit, level, handle)) return entry;
    }
  }
  return nullptr;
}

void extendLookups(unsigned level) {
  unsigned end = g_levelsEnd.load();
  while (end <= level && !g_levelsEnd.compare_exchange_weak(end, level + 1)) {
  }
}

bool canGetEntries(const TableLevel &level) {
  return level.entries.load() == nullptr && (level.users.load() & kClosed) == 0;
}

// The smallest level that has no entries; kLevels if there is none.
unsigned missingLevel() {
  unsigned level = 1;
  while (level < kLevels && !canGetEntries(g_levels[level])) ++level;
  return level;
}

// Makes a level and opens a session in it. Null when other threads were faster, and with *isFull
// set when there is no memory for another level.
XmlMemSession *openInNewLevel(bool *isFull) {
  const unsigned level = missingLevel();
  void *memory = level < kLevels ? XML_Calloc(entriesOf(level), sizeof(XmlMemSession)) : nullptr;
  *isFull = memory == nullptr;
  if (*isFull) return nullptr;
  auto *entries = static_cast<XmlMemSession *>(memory);
  Visit visit(g_levels[level]);
  if (!visit.provideEntries(entries)) {
    freeOnHeap(entries);
    return nullptr;
  }
  extendLookups(level);
  return openIn(visit, level, unusedHandle());
}

}  // namespace

XmlMemSession *findSession(uint32_t handle) {
  if (handle == 0) return nullptr;
  XmlMemSession &entry = entryIn(g_firstLevel, 0, handle);
  if (entry.handle.load(std::memory_order_acquire) == handle) return &entry;
  const unsigned end = g_levelsEnd.load(std::memory_order_acquire);
  for (unsigned level = 1; level < end; ++level) {
    if (XmlMemSession *found = findInLevel(level, handle)) return found;
  }
  return nullptr;
}

XmlMemSession *openSession() {
  XmlMemSession *entry = openInFirstLevel();
  bool isFull = false;
  while (entry == nullptr && !isFull) {
    entry = openInExistingLevels();
    if (entry == nullptr) entry = openInNewLevel(&isFull);
  }
  return entry;
}

void closeSession(XmlMemSession &session) {
  const unsigned level = session.tableLevel;
  session.blockCount = 0;
  session.firstBlock = nullptr;
  session.lastBlock = nullptr;
  session.newestTree = nullptr;
  session.largestEarlierGap = 0;
  session.tableLevel = 0;
  session.hasDocument = false;
  session.hasRegions = false;
  session.hasAllocator = false;
  session.crossReferences = nullptr;
  session.keptStrings = nullptr;
  session.keptAttributes = nullptr;
  session.handle.store(0, std::memory_order_release);
  if (level == 0) return;
  g_openInLevels.fetch_sub(1);
  leave(g_levels[level]);
}

}  // namespace neb::xml::internal
