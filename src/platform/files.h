// The file layer. A file is a small int in one table of the process, counted up from 1: 0 never names a file, and a
// handle that is wrong or closed fails with -1, for no handle is given out twice. A directory is no file. File names
// are GBK texts; a backslash counts as a slash, and the name reaches the file system in UTF-8. Every call may be made
// from any thread. Where a call fails, errno says why.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "export.h"
#include "text/bytestring.h"

namespace karst {

using FileHandle = int32_t;
constexpr FileHandle kNoFile = -1;

// Whose handle it is, where it is asked whether a file is open: one without an owner counts for everybody.
using FileOwner = const void*;
constexpr FileOwner kNoOwner = nullptr;

// Style bits of OpenWithStyle.
enum FileStyle : unsigned {
  kStyleRead = 0,
  kStyleWrite = 0x1,
  kStyleDelete = 0x200,
  kStyleCreate = 0x1000,
  kStyleExists = 0x4000,
};

enum class SeekFrom { kStart, kCurrent, kEnd };

// Opens by style bits: none reads an existing file, write opens an existing one for writing, create empties it or
// makes it (for writing, also without the write bit). Exists gives 1 if the file is there and keeps nothing open;
// delete removes it and gives 1. -1 on failure.
KARST_API FileHandle OpenWithStyle(const char* name, unsigned style, FileOwner owner = kNoOwner);
// Creates a file, or empties an existing one, for writing.
KARST_API FileHandle CreateForWriting(const char* name);
KARST_API FileHandle OpenForReading(const char* name);
// Opens for writing at the file's end, and makes the file if there is none. The position is the handle's own: a later
// SeekFile moves it, and another writer's bytes do not. Any number of such handles can be open: the system holds those
// that were used lately. If a file that it does not hold is removed or replaced from outside, what follows is appended
// to what has the name then.
KARST_API FileHandle OpenForAppending(const char* name);
// The same without sharing, for one text that goes to the file's end, wherever that is then: fails with EBUSY where a
// handle that counts for `owner` has the file open. Handles of this kind do not count.
KARST_API FileHandle OpenForAppendingAlone(const char* name, FileOwner owner);
// True if a handle that counts for `owner` has this file open.
KARST_API bool IsFileOpen(const char* name, FileOwner owner);
// True if a regular file has been opened for writing since the process began.
KARST_API bool FilesWereOpenedForWriting();
// 0, or -1: the handle names no open file, or something that was written is lost. It is closed all the same.
KARST_API int CloseFile(FileHandle file);
// The new position from the start, or -1.
KARST_API int64_t SeekFile(FileHandle file, int64_t offset, SeekFrom from);
// Bytes read; 0 at the end; -1 on failure. Reads on until `count` bytes came or the data ended.
KARST_API int64_t ReadFile(FileHandle file, char* target, size_t count);
// Bytes written, all of `bytes` unless the device is full (errno then says so); -1 on failure.
KARST_API int64_t WriteFile(FileHandle file, std::string_view bytes);
// The file's size, -1 on failure or where there is none (a pipe).
KARST_API int64_t FileSize(FileHandle file);
// Cuts the file at the current position. 0 or -1.
KARST_API int TruncateHere(FileHandle file);
// 0 if a file was removed, else -1.
KARST_API int DeleteFile(const char* name);

// The name with each backslash made a slash, except where it is the second byte of a double-byte character.
KARST_API CString WithForwardSlashes(std::string_view gbk_name);
// A GBK file name as the file system wants it: UTF-8, with slashes. A part of the path that is no GBK, or that is
// there only with its bytes as they stand, keeps these. A drive letter is a part like any other.
KARST_API std::string ToFileSystemName(const char* gbk_name);
// The way back, for the paths that the system itself makes. A part of the path that is no UTF-8, or has
// no place in GBK, stays as it is.
KARST_API CString FromFileSystemName(std::string_view name);

}  // namespace karst
