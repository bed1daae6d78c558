/* What the compiler's unwinder asks glibc for, by musl's dl_iterate_phdr. */
#define _GNU_SOURCE
#include <link.h>
#include <stdint.h>
#include <string.h>

/* As in glibc's dlfcn.h. */
struct dl_find_object {
  unsigned long long flags;
  void *map_start;
  void *map_end;
  struct link_map *link_map;
  void *eh_frame;
  unsigned long long reserved[7];
};

struct search {
  uintptr_t address;
  struct dl_find_object *found;
};

static int looks_into(struct dl_phdr_info *object, size_t size, void *context) {
  const struct search *search = context;
  void *eh_frame = NULL;
  int contains = 0;
  (void)size;
  for (int i = 0; i < object->dlpi_phnum; ++i) {
    const ElfW(Phdr) *segment = &object->dlpi_phdr[i];
    const uintptr_t begin = object->dlpi_addr + segment->p_vaddr;
    if (segment->p_type == PT_GNU_EH_FRAME) eh_frame = (void *)begin;
    if (segment->p_type != PT_LOAD || search->address - begin >= segment->p_memsz) continue;
    contains = 1;
    search->found->map_start = (void *)begin;
    search->found->map_end = (void *)(begin + segment->p_memsz);
  }
  search->found->eh_frame = eh_frame;
  return contains && eh_frame != NULL;
}

int _dl_find_object(void *address, struct dl_find_object *found) {
  struct search search = {(uintptr_t)address, found};
  memset(found, 0, sizeof *found);
  return dl_iterate_phdr(looks_into, &search) ? 0 : -1;
}
