// What the service units share and both file layers (scfs/Mac_porting, scfs/posix_porting) build
// on: the module's state, the file handle and the card-sync notice. Outside
// scfs only the XML push decoders include it, for the stream of a handle.
#pragma once

#include <mmskit/storage.h>

#include <cstdio>

// A handle is a cell of the platform's allocator, not of the library's: it belongs to the stream
// that it holds, and a host may hand in a cell of its own making. It is the one block that does
// not pass the allocation door.
struct tSCFS_File {
    FILE* stream;
};

#pragma GCC visibility push(hidden)

namespace mmskit {

// All mutable state of the services; all-zero is idle. Owns the timers and the log file name.
struct ServiceState {
    char full_path[1024];  // bytes, terminator included
    tSCFS_CardSynFileFunc card_sync;
    tSCList timers;  // of tSCFS_Timer, blocks of the library
    char* log_file;
    int32_t log_line;
};
extern ServiceState scfs_state;

// Releases what the state owns and makes it idle again.
void reset_services();

// What stands at a path; links are followed. On the handset layer nothing does.
enum class Presence { absent, file, no_file, unknown };
Presence presence_of(const char* path);

// Tells the host, if it asked to be told, that the file `name` was written.
void notify_card_sync(const char* name);

// A handle that takes over `stream`; closes it and gives null when memory is out. Null for null.
[[nodiscard]] tSCFS_File* new_file_handle(FILE* stream);

// Closes the stream and frees the handle (null: nothing to do). False when the stream reports
// that what was written may not have arrived.
[[nodiscard]] bool close_file_handle(tSCFS_File* file);

}  // namespace mmskit

#pragma GCC visibility pop
