// Whole lists in files: the growing buffer that record writers fill, and the save and load that
// record files and INI stores share. Relies on the file layer for whole reads and atomic writes.
#pragma once

#include <mmskit/storage.h>

#include "scshare/common/src/owned.h"

#pragma GCC visibility push(hidden)

namespace mmskit {

// A zeroed area of its own, with a file buffer on it. Not movable: writers get the buffer's
// address.
class RecordArea {
  public:
    RecordArea() = default;
    RecordArea(const RecordArea&) = delete;
    RecordArea& operator=(const RecordArea&) = delete;

    // An area for what the file holds now and some more. False when memory is out.
    [[nodiscard]] bool open_for(const char* file);
    // An area of `capacity` bytes that never grows. False when negative or memory is out.
    [[nodiscard]] bool open_fixed(int32_t capacity);

    // Has `writer` write one record. When it does not fit whole, terminator included, the area
    // grows and the writer writes it again; false when it cannot grow.
    [[nodiscard]] bool write(tSCFS_RecordWriter writer, void* record);

    tSCFS_FileBuffer buffer{};

  private:
    [[nodiscard]] bool open(int32_t capacity, int32_t most);
    [[nodiscard]] bool enlarge(int32_t capacity, int32_t kept_position);
    [[nodiscard]] bool overflowed() const;
    [[nodiscard]] bool grow(int32_t kept_position);

    OwnedBytes area_;
    // The area has one byte more, and no record may use it: a buffer that closes when it is exactly
    // full keeps its limit, and nobody could tell that it refused something.
    int32_t capacity_ = 0;
    int32_t most_ = 0;
};

// What makes the bytes part of a file: fnSCFS_WriteToFile or fnSCFS_AppendToFile.
using StoreBytes = int32_t (*)(const void*, int32_t, const char*);

// Writes the list's records into an area of `capacity` bytes (null: one that grows), and the area
// into the file, which a list that was marked while loading may not replace. False for null too.
[[nodiscard]] bool save_list(const char* name, const tSCList* list, tSCFS_RecordWriter writer,
                             StoreBytes store, const int32_t* capacity = nullptr);

// Undoes an interrupted save: the backup, where there is one, becomes the file again. False when
// it is or may be still there afterwards, so that the file may not be read or written.
[[nodiscard]] bool recover_file(const char* name);

// Reads a whole file into a buffer's area, whose size its limit tells. False, with the members as
// they were, when that cannot be done.
[[nodiscard]] bool read_file(const char* name, tSCFS_FileBuffer& buffer);

// Notes what became of loading a list: false marks it, so that it is not saved over the entries
// that it lacks. No file is no failure.
void note_loading(tSCList& list, const char* name, bool loaded);

}  // namespace mmskit

#pragma GCC visibility pop
