"""Reading: any bytes that may hold a message, through the tolerant door and then the exact one."""

from __future__ import annotations

import os
import pathlib
import tempfile
from collections.abc import Callable
from dataclasses import dataclass, field
from datetime import datetime, timedelta, timezone
from typing import Any

from ._interface import anatomy as tolerant
from ._interface import data, ffi, library, one_at_a_time, owned, text
from .model import Header, Media, Note, Part, Push, Slide, Text, Value

NO_MESSAGE = 0
FLAWS = {1: "repaired", 2: "lost", 3: "unknown"}
INDICATION_ACTIONS = ["signal-none", "signal-low", "signal-medium", "signal-high", "delete"]
LOADING_ACTIONS = ["execute-low", "execute-high", "cache"]
PUSH_DECODERS: dict[int, tuple[Any, Any, list[str]]] = {  # by what the anatomy calls the message
    3: (library.fnMMSPush_DecodeSic, library.fnMMSPush_FreeSic, INDICATION_ACTIONS),
    4: (library.fnMMSPush_DecodeXmlSic, library.fnMMSPush_FreeSic, INDICATION_ACTIONS),
    5: (library.fnMMSPush_DecodeSlc, library.fnMMSPush_FreeSlc, LOADING_ACTIONS),
    6: (library.fnMMSPush_DecodeXmlSl, library.fnMMSPush_FreeSlc, LOADING_ACTIONS),
}
XML_TEXTS = (4, 6)
LATIN_1 = 4
EPOCH = datetime(1970, 1, 1, tzinfo=timezone.utc)
FORMS: dict[int, Callable[[int], Value]] = {
    4: bool, 5: int, 6: lambda n: EPOCH + timedelta(seconds=n), 7: lambda n: timedelta(seconds=n)}


class NotAMessage(ValueError):
    """The bytes hold no message; the reason says what they look like."""


@dataclass(frozen=True)
class Message:
    """A message, whatever it was wrapped in. What was wrong with it stands in the notes."""
    kind: str
    headers: list[Header] = field(default_factory=list)
    parts: list[Part] = field(default_factory=list)
    notes: list[Note] = field(default_factory=list)
    slides: list[Slide] = field(default_factory=list)
    attachments: list[Media] = field(default_factory=list)
    push: Push | None = None

    def header(self, name: str) -> Value | None:
        """The value of the first header field of that name, whatever its case; None without one."""
        wanted = name.lower()
        return next((each.value for each in self.headers if each.name.lower() == wanted), None)

    @property
    def whole(self) -> bool:
        """Whether nothing of the message is lost."""
        return all(note.kind != "lost" for note in self.notes)


def open(path: str | os.PathLike[str]) -> Message:
    """Reads a file; see read()."""
    return read(pathlib.Path(path).read_bytes())


def read(message: bytes | bytearray | memoryview) -> Message:
    """Reads a message: a PDU of any kind, a body, a push document, or an SMS, HTTP answer,
    hexadecimal text, base64 or gzip that holds one. Raises NotAMessage when there is none."""
    content = bytes(message)
    if len(content) > 0x7FFFFFFF:
        raise NotAMessage("longer than a message can be")
    source = ffi.from_buffer("uint8_t[]", content)
    with owned(tolerant.fnMMS_Dissect(source, len(content)), tolerant.fnMMS_FreeAnatomy) as taken:
        if taken.iMessage == NO_MESSAGE:
            looks = text(taken.pLooksLike)
            raise NotAMessage("no message" + (f", but {looks}" if looks else ""))
        with owned(tolerant.fnMMS_MendOnce(taken), tolerant.fnMMS_FreeMended) as mended:
            return _message(taken, mended)


def _message(taken: Any, mended: Any) -> Message:
    message = Message(
        text(taken.pKind) or "",
        [_header(taken.pHeaders[i]) for i in range(taken.iHeaders)],
        [_part(taken.pParts[i]) for i in range(taken.iParts)],
        [_note(mended.pNotes[i]) for i in range(mended.iNotes)],
        push=_push(taken),
    )
    if taken.iMessage in PUSH_DECODERS:
        if message.push is None:
            message.notes.append(Note("lost", "not a push document that can be decoded"))
    elif message.parts or mended.iBody < mended.iLength:
        _lay_out(message, mended)
    return message


def _header(header: Any) -> Header:
    value: Value = text(header.pValue) or ""
    if header.iForm in FORMS:
        try:
            value = FORMS[header.iForm](header.iNumber)
        except OverflowError:  # beyond the calendar of Python: it stays a number
            value = header.iNumber
    return Header(text(header.pName) or "", value, header.iCode)


def _part(part: Any) -> Part:
    texts = (text(part.pType) or "", text(part.pName), text(part.pCharset))
    marks = (bool(part.bText), bool(part.bPresentation), bool(part.bAlternative))
    return Part(*texts, data(part.pData, part.iDataLen), part.iMissing, *marks)


def _note(note: Any) -> Note:
    kind = FLAWS.get(note.iFlaw, "unknown")
    return Note(kind, text(note.pText) or "", note.iByte, note.iBytes, note.iLayer)


def _lay_out(message: Message, mended: Any) -> None:
    reason = "no body that can be read"
    if mended.pData != ffi.NULL and mended.iBody < mended.iLength:
        with one_at_a_time:
            body = mended.pData + mended.iBody
            try:
                if library.fnPAR_SmilParserEntry(body, mended.iLength - mended.iBody):
                    _View(message, mended).copy()
                    return
                reason = text(library.fnMMS_GetLastError(ffi.NULL)) or ""
            finally:
                library.fnPAR_SmilFree()
    message.notes.append(Note("lost", f"the slides: {reason}"))
    for part in message.parts:  # no part is ever hidden
        if not part.presentation:
            message.attachments.append(Media(part.data, part.type, part.name or ""))


class _View:
    """Copies the view into a message: the library has one, and it is held meanwhile."""

    def __init__(self, message: Message, mended: Any) -> None:
        self.message = message
        parts = (mended.pParts[i] for i in range(mended.iParts))
        self.parts = {mended.pData + p.iOffset: message.parts[p.iPart] for p in parts if p.iLength}

    def copy(self) -> None:
        library.fnPAR_InitCurPar()
        more = not library.fnPAR_IsParEmpty()
        while more:
            self.message.slides.append(self.slide())
            more = library.fnPAR_ProceedNextPar()
        for index in range(library.fnPAR_GetTotalAttachments()):
            found = self.got("tPAR_Attachment*", library.fnPAR_GetAttachment, index)
            part = self.parts.get(found.Data)
            content = part.data if part and part.text else data(found.Data, found.Length)
            kind, name = text(found.Type) or "", self.name(found)
            self.message.attachments.append(Media(content, kind, name, drm_class=found.DrmType))

    def slide(self) -> Slide:
        shown = self.got("tPAR_Text*", library.fnPAR_GetCurParText)
        return Slide(
            Text(text(shown.Data) or "", shown.Begin, shown.End, _place(shown)) if shown else None,
            self.media("tPAR_Image*", library.fnPAR_GetCurParImg),
            self.media("tPAR_Audio*", library.fnPAR_GetCurParAudio),
            self.media("tPAR_Image*", library.fnPAR_GetCurParVideo),
            library.fnPAR_GetCurParDur(),
            self.colour(library.fnPAR_GetCurParBgColor),
            self.colour(library.fnPAR_GetCurParForeColor),
        )

    def got(self, record: str, get: Any, *arguments: int) -> Any:
        out = ffi.new(record)
        return out if get(out, *arguments) else None

    def colour(self, get: Any) -> int | None:
        out = self.got("uint32_t*", get)
        return out[0] & 0xFFFFFF if out else None

    def media(self, record: str, get: Any) -> Media | None:
        found = self.got(record, get)
        if not found:
            return None
        place = _place(found) if hasattr(found, "Left") else (0, 0, 0, 0)
        content, drm = data(found.Data, found.Length), found.DrmType if found.IsDrm else 0
        kind, name = text(found.Type) or "", self.name(found)
        return Media(content, kind, name, found.Begin, found.End, place, drm)

    def name(self, found: Any) -> str:
        """The sender's name, which mending may have replaced."""
        part = self.parts.get(found.Data)
        return (part and part.name) or text(found.Name) or ""


def _place(found: Any) -> tuple[int, int, int, int]:
    return found.Left, found.Top, found.Width, found.Height


def _push(taken: Any) -> Push | None:
    if taken.iMessage not in PUSH_DECODERS:
        return None
    decode, free, actions = PUSH_DECODERS[taken.iMessage]
    start = taken.pLayers[taken.iMessageLayer].pData + taken.iMessageOffset
    document = data(start, taken.iMessageLength)
    with one_at_a_time:
        textual = taken.iMessage in XML_TEXTS
        record = _from_text(decode, document) if textual else decode(document, len(document))
        if record == ffi.NULL:
            return None
        with ffi.gc(record, free):
            action = actions[record.bAction - 5] if 5 <= record.bAction < 5 + len(actions) else None
            # The library leaves texts of WBXML in the document's character set.
            encoding = "latin-1" if record.iCharset == LATIN_1 else "utf-8"
            href = text(record.pHref, encoding)
            if actions is LOADING_ACTIONS:
                return Push(href, action)
            words = text(record.pNotifyText, encoding), text(record.pSiId, encoding)
            return Push(href, action, *words, _moment(record.tCreated), _moment(record.tSiExpires))


def _from_text(decode: Callable[[Any, int], Any], document: bytes) -> Any:
    """The library reads XML text through a file below the current folder: of this process, for the
    moment, that is a folder of its own."""
    with tempfile.TemporaryDirectory(prefix="mmskit-") as folder:
        os.makedirs(os.path.join(folder, "umb", "tmp"))
        before = os.open(".", os.O_RDONLY)
        try:
            os.chdir(folder)
            return decode(ffi.new("char[]", document), len(document))
        finally:
            os.fchdir(before)
            os.close(before)


def _moment(date: Any) -> datetime | None:
    fields = date.iYear, date.iMonth, date.iDay, date.iHour, date.iMinute, date.iSecond
    try:
        return datetime(*fields, tzinfo=timezone.utc)
    except (ValueError, OverflowError):
        return None  # not given, or no date of the calendar
