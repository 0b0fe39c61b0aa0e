// Memory for a message as the system gives it fastest.
#pragma once

namespace mmskit_tool {

// Called once, before much is allocated. A message of a megabyte may take tens of them in small
// blocks; touched page by page they cost as much time as reading it. So the heap begins with room
// in pages as large as the system has, and keeps what it was given.
void prepare_heap();

}  // namespace mmskit_tool
