"""Composing: slides and attachments to the PDU of an m-send-req."""

from __future__ import annotations

import itertools
import re
import time
import uuid
from collections.abc import Iterable, Sequence
from datetime import datetime, timedelta
from typing import Any

from ._interface import data, ffi, library, one_at_a_time, owned
from .model import Media, Slide, Text

SEND_REQ = 1
LONGEST_NAME, LONGEST_ADDRESS = 49, 59  # bytes
LONGEST_TYPE = 24  # characters of a medium's type
CLASSES = ["personal", "advertisement", "informational", "auto"]
PRIORITIES = ["low", "normal", "high"]
REFUSALS = {
    -1: "out of memory, or too large",
    -2: "a composition is open already",
    -4: "the slide has a video, which leaves no room for it",
    -5: "the slide has an image or a sound, which leave no room for it",
    -6: "a message has at most 10 of them",
}


def compose(
    slides: Iterable[Slide] = (), *, attachments: Iterable[Media] = (),
    to: str | Sequence[str] = (), cc: str | Sequence[str] = (), bcc: str | Sequence[str] = (),
    subject: str = "", sender: str = "", transaction_id: str | None = None,
    message_class: str = "personal", priority: str = "normal",
    expiry: timedelta | datetime | None = None, delivery_time: timedelta | None = None,
    delivery_report: bool = False, read_report: bool = False, hide_sender: bool = False,
) -> bytes:
    """The PDU of a message with at most ten slides and ten attachments. At least one recipient is a
    phone number or a mail address. Names that markup cannot hold, that are too long or come twice
    are sent as others. Raises ValueError for what a message cannot carry."""
    fields = {
        "pTo": _addresses("to", to),
        "pCc": _addresses("cc", cc),
        "pBcc": _addresses("bcc", bcc),
        "From": _bytes("sender", sender),
        "pSubject": _bytes("subject", subject),
        "pTransactionId": _bytes("transaction_id", transaction_id or f"T{uuid.uuid4().hex}"),
    }
    if not (fields["pTo"] or fields["pCc"] or fields["pBcc"]):
        raise ValueError("the message has no recipient: give a to, cc or bcc")
    longest = 125 - (fields["pSubject"][:1] >= b"\x7f")  # a quote comes before such a character
    if (size := len(fields["pSubject"])) > longest:
        raise ValueError(f"subject: {size} bytes of UTF-8; {longest} reach the receiver")
    numbers = {
        "bMessageClass": _choice("message_class", message_class, CLASSES),
        "bPriority": _choice("priority", priority, PRIORITIES),
        "bDeliveryReport": delivery_report, "bReadReport": read_report,
        "bSenderVisible": not hide_sender, "bExpiryRelative": not isinstance(expiry, datetime),
        "iExpiry": _seconds("expiry", expiry),
        "iDeliveryTime": _seconds("delivery_time", delivery_time),
    }
    with one_at_a_time, owned(library.fnMMS_AllocMessageMem(SEND_REQ), _free_request) as record:
        request = ffi.cast("tMMS_SendReq*", record)
        request.pContent, request.iContentLen = _body(slides, attachments)
        for name, value in numbers.items():
            setattr(request, name, int(value))
        for name, words in fields.items():
            setattr(request, name, library.fnSC_MEMSTRCOPY(words) if words else ffi.NULL)
            if words and getattr(request, name) == ffi.NULL:
                raise MemoryError
        length = ffi.new("uint32_t*")
        pdu = library.fnMMS_MakeSendMessagePdu(request, length)
        with owned(pdu, library.fnMMS_FreeMadeMsgPduBuf):
            return data(pdu, length[0])


def _free_request(record: Any) -> None:
    library.fnMMS_FreeMessageMem(record, SEND_REQ)


def _bytes(what: str, words: str) -> bytes:
    if "\0" in words:
        raise ValueError(f"{what}: it holds a NUL")
    return words.encode()


def _addresses(what: str, given: str | Sequence[str]) -> bytes:
    entries = [given] if isinstance(given, str) else list(given)
    for entry in entries:
        if not entry or re.search(r"[\s;\0]", entry) or len(entry.encode()) > LONGEST_ADDRESS:
            raise ValueError(f"{what}: {entry!r} is no phone number or mail address")
    return ";".join(entries).encode()


def _choice(what: str, word: str, words: list[str]) -> int:
    if word not in words:
        raise ValueError(f"{what}: one of {', '.join(words)}")
    return words.index(word)


def _seconds(what: str, when: timedelta | datetime | None) -> int:
    if when is None:
        return 0
    seconds = when.timestamp() if isinstance(when, datetime) else when.total_seconds()
    past = isinstance(when, datetime) and seconds <= time.time()
    if past or not 1 <= seconds < 2**32:
        raise ValueError(f"{what}: it lies in the past, or too far ahead")
    return int(seconds)


def _body(slides: Iterable[Slide], attachments: Iterable[Media]) -> tuple[Any, int]:
    """The encoded body, which is the caller's; the composer is open while it is built."""
    _require(library.fnCPS_NewMms(), "the message")
    try:
        used = {f"Text{index}.txt" for index in range(10)}  # the composer's own
        for number, slide in enumerate(slides, 1):
            if number > 1:  # the first is there
                _require(library.fnCPS_AddSlide(), f"slide {number}")
            _add_slide(f"slide {number}", slide, used)
        for number, file in enumerate(attachments, 1):
            where = f"attachment {number}"
            _add("CPSAttachmentInfo*", library.fnCPS_AddAttachment, where, file, used)
        length = ffi.new("uint32_t*")
        body = library.fnCPS_GetMmsContentPdu(length)
        if body == ffi.NULL:
            raise MemoryError
        return body, length[0]
    finally:
        library.fnCPS_Quit()


def _add_slide(where: str, slide: Slide, used: set[str]) -> None:
    duration = slide.duration or 12000  # what a received slide leaves open
    if not 1 <= duration <= 120000:
        raise ValueError(f"{where}: a duration is 1 to 120000 ms")
    _require(library.fnCPS_SetCurSlideDuration(duration), where)
    if slide.background is not None:
        library.fnCPS_SetCurBgColor(slide.background)
    if slide.foreground is not None:
        library.fnCPS_SetCurForeColor(slide.foreground)
    for medium, what, record, call in (
        (slide.image, "image", "CPSMediaInfo*", library.fnCPS_AddImage),
        (slide.audio, "audio", "CPSAudioInfo*", library.fnCPS_AddAudio),
        (slide.video, "video", "CPSMediaInfo*", library.fnCPS_AddVideo),
    ):
        if medium is not None:
            _add(record, call, f"{where}: {what}", medium, used, duration)
    if slide.text and str(slide.text):
        shown = Text(slide.text) if isinstance(slide.text, str) else slide.text
        words = _bytes(f"{where}: text", shown.text)
        text = ffi.new("char[]", words)
        times = _times(f"{where}: text", shown, duration)
        info = ffi.new("CPSTextInfo*", dict(times, pText=text, iLength=len(words)))
        _require(library.fnCPS_AddText(info), where)


def _times(what: str, shown: Media | Text, duration: int) -> dict[str, int]:
    end = duration if shown.end is None else min(shown.end, duration)
    if not 0 <= shown.begin < end:
        raise ValueError(f"{what}: it is shown for no time")
    return {"iBegin": shown.begin, "iEnd": end}


def _add(
    record: str, call: Any, what: str, medium: Media, used: set[str], duration: int = 0
) -> None:
    if not medium.data:
        raise ValueError(f"{what}: it is empty")
    if duration and len(medium.type) > LONGEST_TYPE:
        raise ValueError(f"{what}: the type {medium.type!r} is longer than 24 characters")
    kept = (  # here, as cffi's records keep nothing; the composer copies
        ffi.from_buffer("uint8_t[]", medium.data),
        ffi.new("char[]", _bytes(what, medium.type)),
        ffi.new("char[]", _free_name(medium.name, used).encode()),
    )
    times = _times(what, medium, duration) if duration else {}
    members = dict(zip(("pData", "pType", "pName"), kept), iSize=len(medium.data), **times)
    _require(call(ffi.new(record, members)), what)


def _free_name(wanted: str, used: set[str]) -> str:
    """A name that receivers find the part by: markup holds it, the part carries it whole."""
    name = re.sub(r"[\x00-\x1f\x7f<>&\"'/\\]", "_", wanted) or "part"
    if not name[0].isascii():
        name = "_" + name
    stem, extension = re.fullmatch(r"(.+?)(\.[^.]{0,8})?", name).groups("")  # type: ignore
    for number in itertools.count(1):
        tail = (f"-{number}" if number > 1 else "") + extension
        room = LONGEST_NAME - len(tail.encode())
        name = stem.encode()[:room].decode("utf-8", "ignore") + tail
        if name not in used:
            break
    used.add(name)
    return name


def _require(code: int, what: str) -> None:
    if code != 0:
        raise ValueError(f"{what}: {REFUSALS.get(code, f'refused with code {code}')}")
