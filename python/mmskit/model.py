"""What a message consists of, as plain values."""

from __future__ import annotations

import mimetypes
import os
import pathlib
from dataclasses import dataclass, field
from datetime import datetime, timedelta

Value = str | int | bool | datetime | timedelta
Place = tuple[int, int, int, int]  # left, top, width and height in pixels


@dataclass(frozen=True)
class Header:
    """A header field of the message. The code is that of the wire, 0 for a textual header."""
    name: str
    value: Value
    code: int = 0


@dataclass(frozen=True)
class Note:
    """What is wrong with a place of the input: `kind` is "repaired", "lost" or "unknown"."""
    kind: str
    text: str
    byte: int = 0
    length: int = 0
    layer: int = 0


@dataclass(frozen=True)
class Part:
    """A leaf part of the body, texts in UTF-8. `missing` bytes were declared and are not there."""
    type: str
    name: str | None
    charset: str | None
    data: bytes = field(repr=False)
    missing: int = 0
    text: bool = False
    presentation: bool = False
    alternative: bool = False


@dataclass(frozen=True)
class Media:
    """A picture, a sound, a video or an attached file. Times are milliseconds from the start of the
    slide (an end of None: to the slide's end), the place is pixels."""
    data: bytes = field(repr=False)
    type: str
    name: str
    begin: int = 0
    end: int | None = None
    place: Place = (0, 0, 0, 0)
    drm_class: int = 0

    @classmethod
    def read(cls, path: str | os.PathLike[str], type: str | None = None) -> Media:
        """A file, its type told by its name where none is given."""
        name = os.path.basename(os.fspath(path))
        guessed = type or mimetypes.guess_type(name)[0] or "application/octet-stream"
        return cls(pathlib.Path(path).read_bytes(), guessed, name)


@dataclass(frozen=True)
class Text:
    """The text of a slide, with times and a place as of Media."""
    text: str
    begin: int = 0
    end: int | None = None
    place: Place = (0, 0, 0, 0)

    def __str__(self) -> str:
        return self.text


@dataclass(frozen=True)
class Slide:
    """One slide: milliseconds, colours 0xRRGGBB. For composing, the text may be a str."""
    text: Text | str | None = None
    image: Media | None = None
    audio: Media | None = None
    video: Media | None = None
    duration: int = 12000
    background: int | None = None
    foreground: int | None = None


@dataclass(frozen=True)
class Push:
    """A service indication or service loading. The action is the standard's word."""
    href: str | None
    action: str | None
    text: str | None = None
    id: str | None = None
    created: datetime | None = None
    expires: datetime | None = None
