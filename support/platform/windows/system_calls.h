// The system's calls, and the errno of what they report.
#pragma once

#include "platform/system.h"

#if defined(NEB_XML_WINDOWS)

#include <cerrno>

// Less of what the header defines by macros.
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

namespace neb::platform {

// EBUSY if others have opened the file so that it cannot be used or replaced.
inline int errnoOf(DWORD error) {
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_INVALID_DRIVE:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
      return ENOENT;
    case ERROR_DIRECTORY:
      return ENOTDIR;
    case ERROR_ACCESS_DENIED:
    case ERROR_PRIVILEGE_NOT_HELD:
      return EACCES;
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_USER_MAPPED_FILE:
    case ERROR_PIPE_BUSY:
    case ERROR_UNABLE_TO_REMOVE_REPLACED:
    case ERROR_UNABLE_TO_MOVE_REPLACEMENT:
    case ERROR_UNABLE_TO_MOVE_REPLACEMENT_2:
      return EBUSY;
    case ERROR_WRITE_PROTECT:
      return EROFS;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
      return ENOSPC;
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY:
      return ENOMEM;
    case ERROR_TOO_MANY_OPEN_FILES:
      return EMFILE;
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
      return EEXIST;
    case ERROR_FILENAME_EXCED_RANGE:
    case ERROR_INSUFFICIENT_BUFFER:
      return ENAMETOOLONG;
    case ERROR_NO_UNICODE_TRANSLATION:
      return EILSEQ;
    case ERROR_CANT_RESOLVE_FILENAME:  // links in a circle
      return ELOOP;
    default:
      return EIO;
  }
}

// False, for what has failed in the last call of the system.
inline bool failWithLastError() {
  errno = errnoOf(GetLastError());
  return false;
}

}  // namespace neb::platform

#endif
