// The frame of the library: hook table, version, and the calls that pass straight through.
#include "memory/hooks.h"

#include <cstdlib>

#include "platform/bounded_memory.h"

void *(*g_fnXMLMalloc)(size_t) = std::malloc;
void (*g_fnXMLFree)(void *) = std::free;

namespace neb::xml::internal {

void *(*g_fnXMLCalloc)(size_t, size_t) = std::calloc;
FILE *(*g_fnXMLFopen)(const char *, const char *) = std::fopen;
int (*g_fnXMLFseek)(FILE *, long, int) = std::fseek;
int (*g_fnXMLFclose)(FILE *) = std::fclose;
size_t (*g_fnXMLFread)(void *, size_t, size_t, FILE *) = std::fread;
long (*g_fnXMLFtell)(FILE *) = std::ftell;

namespace {

// In two steps, so that the macros are replaced before they become strings.
#define NEB_XML_QUOTED(token) #token
#define NEB_XML_DOTTED(major, minor, patch) \
  NEB_XML_QUOTED(major) "." NEB_XML_QUOTED(minor) "." NEB_XML_QUOTED(patch)

constexpr char kVersionBanner[] =
    "NEB XML " NEB_XML_DOTTED(NEB_XML_VERSION_MAJOR, NEB_XML_VERSION_MINOR, NEB_XML_VERSION_PATCH);
constexpr long kTellFailed = -1;

}  // namespace

bool usesDefaultFiles() {
  return g_fnXMLFopen == std::fopen && g_fnXMLFseek == std::fseek && g_fnXMLFclose == std::fclose &&
         g_fnXMLFread == std::fread && g_fnXMLFtell == std::ftell;
}

}  // namespace neb::xml::internal

using namespace neb::xml::internal;

uint32_t NEB_XML_RegMemFunc(void *(*mallocHook)(size_t), void *(*callocHook)(size_t, size_t),
                            void (*freeHook)(void *)) {
  if (mallocHook == nullptr || callocHook == nullptr || freeHook == nullptr) {
    return NEB_XML_ERR_INVALID_PARAM;
  }
  g_fnXMLMalloc = mallocHook;
  g_fnXMLCalloc = callocHook;
  g_fnXMLFree = freeHook;
  return NEB_XML_OK;
}

uint32_t NEB_XML_RegFileFunc(FILE *(*openHook)(const char *, const char *),
                             int (*seekHook)(FILE *, long, int), int (*closeHook)(FILE *),
                             size_t (*readHook)(void *, size_t, size_t, FILE *),
                             long (*tellHook)(FILE *)) {
  if (openHook == nullptr || seekHook == nullptr || closeHook == nullptr || readHook == nullptr) {
    return NEB_XML_ERR_INVALID_PARAM;
  }
  g_fnXMLFopen = openHook;
  g_fnXMLFseek = seekHook;
  g_fnXMLFclose = closeHook;
  g_fnXMLFread = readHook;
  g_fnXMLFtell = tellHook;
  return NEB_XML_OK;
}

uint32_t NEB_XML_RegDebugFunc(void (* /*debugHook*/)(const char *)) {
  return NEB_XML_ERR_NOT_FOUND;
}

uint32_t NEB_XML_GetVersion(char *buffer, uint32_t size) {
  if (buffer == nullptr) return NEB_XML_ERR_INVALID_PARAM;
  if (size < sizeof kVersionBanner) return NEB_XML_ERR_BUFFER_TOO_SMALL;
  neb::platform::strncpy_s(buffer, size, kVersionBanner, size - 1);
  return NEB_XML_OK;
}

void NEB_XML_FreeMem(void *memory) { freeOnHeap(memory); }

void *XML_Calloc(size_t count, size_t size) { return g_fnXMLCalloc(count, size); }

FILE *XML_Fopen(const char *path, const char *mode) { return g_fnXMLFopen(path, mode); }

int XML_Fseek(FILE *stream, long offset, int whence) {
  return g_fnXMLFseek(stream, offset, whence);
}

int XML_Fclose(FILE *stream) { return g_fnXMLFclose(stream); }

size_t XML_Fread(void *buffer, size_t size, size_t count, FILE *stream) {
  return g_fnXMLFread(buffer, size, count, stream);
}

long XML_Ftell(FILE *stream) {
  if (g_fnXMLFtell == nullptr) return kTellFailed;
  return g_fnXMLFtell(stream);
}

void XML_Dom_LogPrint(const char * /*format*/, ...) {}

void XML_Membuf_LogPrint(const char * /*format*/, ...) {}
