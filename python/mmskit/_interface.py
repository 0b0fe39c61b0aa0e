"""The C interface as cffi sees it, in ABI mode: what interface.h declares of include/mmskit/.

The libraries are found as the dynamic linker finds them (LD_LIBRARY_PATH names other places).
The tests hold the records against the recorded binary interface.
"""

from __future__ import annotations

import pathlib
import threading
from typing import Any

from cffi import FFI

ffi = FFI()
ffi.cdef(pathlib.Path(__file__).with_name("interface.h").read_text("ascii"))

anatomy: Any = ffi.dlopen("libmmskit-anatomy.so.1")
library: Any = ffi.dlopen("libmmskit-posix.so.1")

#: Held around every use of `library`, which one thread at a time may call. (cffi gives up
#: Python's own lock for each call.)
one_at_a_time = threading.RLock()


def text(pointer: Any, encoding: str = "utf-8") -> str | None:
    """A C text; None for null. Bytes that are not of the encoding become U+FFFD."""
    return None if pointer == ffi.NULL else ffi.string(pointer).decode(encoding, "replace")


def data(pointer: Any, length: int) -> bytes:
    """A copy of bytes; none for null."""
    return b"" if pointer == ffi.NULL or length <= 0 else bytes(ffi.buffer(pointer, length))


def owned(pointer: Any, free: Any) -> Any:
    """What the library made, for a with statement that frees it."""
    if pointer == ffi.NULL:
        raise MemoryError
    return ffi.gc(pointer, free)
