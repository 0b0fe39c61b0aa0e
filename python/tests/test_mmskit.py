"""The Python package through its public names, over messages of the examples and made here."""

import doctest
import gc
import gzip
import os
import pathlib
import re
import resource
import threading
from datetime import datetime, timedelta, timezone

import mmskit
import pytest
from mmskit import _interface

ROOT = pathlib.Path(__file__).parents[2]
POSTCARD = ROOT / "examples" / "postcard.mms"
PNG = (ROOT / "examples" / "media" / "boat.png").read_bytes()


def test_a_message_is_read_slide_by_slide():
    message = mmskit.open(POSTCARD)
    assert message.kind == "m-retrieve-conf"
    assert message.header("subject") == "Grüße vom Strand 🌅"
    assert message.header("Date") == datetime(2025, 7, 31, 17, tzinfo=timezone.utc)
    assert message.header("X-Mms-Delivery-Report") is True
    assert message.header("X-Mms-Priority") == "high"
    assert message.header("Expires") is None
    assert message.whole and message.notes == [] and message.push is None
    assert [(s.duration, s.background) for s in message.slides] == [
        (8000, 0xFFF4E0), (6000, 0x00FFFF), (5000, 0x000080)]
    first = message.slides[0]
    media = ROOT / "examples" / "media"
    assert first.image.data == (media / "sunset.jpg").read_bytes()
    assert (first.image.type, first.image.name) == ("image/jpeg", "sunset.jpg")
    assert first.image.place == (0, 0, 160, 170)
    assert (first.audio.begin, first.audio.end) == (500, 2500)
    assert str(first.text).startswith("Greetings") and first.text.place == (0, 170, 160, 30)
    assert first.video is None and message.slides[1].audio is None
    assert [(a.name, a.type) for a in message.attachments] == [("zoe.vcf", "text/x-vCard")]
    assert [p.type for p in message.parts][:3] == ["application/smil", "text/plain", "image/jpeg"]
    assert message.parts[0].presentation and message.parts[1].text
    assert message.parts[1].data.decode() == str(first.text)


def test_the_manual_does_as_it_says(monkeypatch):
    monkeypatch.chdir(ROOT)
    failed, tried = doctest.testmod(mmskit)
    assert (failed, tried) == (0, 4)


@pytest.mark.parametrize("wrap", [bytes.hex, gzip.compress], ids=["hex", "gzip"])
def test_what_it_is_wrapped_in_does_not_matter(wrap):
    wrapped = wrap(POSTCARD.read_bytes())
    wrapped = wrapped.encode() if isinstance(wrapped, str) else wrapped
    assert mmskit.read(bytearray(wrapped)).slides == mmskit.open(POSTCARD).slides


def test_what_is_missing_is_told():
    message = mmskit.read(POSTCARD.read_bytes()[:2500])
    assert not message.whole
    (lost,) = [note for note in message.notes if note.kind == "lost" and "sunset.jpg" in note.text]
    assert lost.byte > 0
    image = message.slides[0].image
    assert image.name == "sunset.jpg" and 0 < len(image.data) < 2575
    assert [part.missing for part in message.parts if part.name == "sunset.jpg"] == [
        2575 - len(image.data)]


@pytest.mark.parametrize("size", range(0, 11063, 97))
def test_a_message_that_is_cut_anywhere_is_read_or_refused(size):
    try:
        message = mmskit.read(POSTCARD.read_bytes()[:size])
    except mmskit.NotAMessage:
        assert size < 97
    else:
        assert not message.whole


@pytest.mark.parametrize("content, why", [
    (b"", "no message"), (PNG, "PNG"), (b"<html><body>", "HTML"), (b"\0" * 100, "no message")])
def test_what_is_no_message_is_refused(content, why):
    with pytest.raises(mmskit.NotAMessage, match=why):
        mmskit.read(content)


XML = b"""<?xml version="1.0"?><si><indication href="http://a.example/1" si-id="x7"
 created="2020-01-02T03:04:05Z" action="signal-none">New mail &amp; more</indication></si>"""
CREATED = datetime(2020, 1, 2, 3, 4, 5, tzinfo=timezone.utc)


@pytest.mark.parametrize("document, push", [
    (XML, mmskit.Push("http://a.example/1", "signal-none", "New mail & more", "x7", CREATED)),
    (b"\x02\x05\x6a\x00\x45\xc6\x07\x0d\x03a.example\x00\x01\x03Hi\xc3\xa9\x00\x01\x01",
     mmskit.Push("http://www.a.example", "signal-medium", "Hi\u00e9")),
    (b"\x02\x06\x04\x00\x85\x06\x09\x03a\xe9\x00\x01", mmskit.Push("http://a\u00e9", "execute-high")),
    (b'<?xml version="1.0"?><sl href="http://b.example/" action="execute-low"/>',
     mmskit.Push("http://b.example/", "execute-low")),
], ids=["si_text", "si_wbxml", "sl_wbxml_latin_1", "sl_text"])
def test_push_documents(document, push):
    before = os.getcwd()
    if os.environ.get("MMSKIT_XML") == "none" and document.startswith(b"<"):
        push = None  # the libraries are built without a parser
    message = mmskit.read(document)
    assert (message.push, message.whole) == (push, push is not None)
    assert os.getcwd() == before


def test_what_is_composed_reads_back():
    slides = [
        mmskit.Slide("Grüße\nzwei", mmskit.Media(PNG, "image/png", "boat.png", 500, 2000),
                     duration=7000, background=0x102030, foreground=0xFFFFFF),
        mmskit.Slide(video=mmskit.Media(b"film", "video/3gpp", "boat.png")),
    ]
    pdu = mmskit.compose(
        slides, attachments=[mmskit.Media(b"x" * 300000, "application/zip", "a<b>.zip")],
        to=["+15550123", "zoe@mail.example"], cc="+15550124", subject="Grüße", sender="+15550100",
        transaction_id="T1", message_class="informational", priority="high",
        expiry=timedelta(days=3), delivery_report=True)
    message = mmskit.read(pdu)
    assert message.kind == "m-send-req" and message.whole
    assert [h.value for h in message.headers if h.name == "To"] == ["+15550123", "zoe@mail.example"]
    for name, value in {
            "Cc": "+15550124", "From": "+15550100", "Subject": "Grüße",
            "X-Mms-Transaction-Id": "T1", "X-Mms-Message-Class": "informational",
            "X-Mms-Priority": "high", "X-Mms-Expiry": timedelta(days=3),
            "X-Mms-Delivery-Report": True, "X-Mms-Read-Report": False}.items():
        assert message.header(name) == value, name
    first, second = message.slides
    assert str(first.text) == "Grüße\nzwei" and (first.text.begin, first.text.end) == (0, 7000)
    assert first.image.data == PNG and (first.image.begin, first.image.end) == (500, 2000)
    assert (first.duration, first.background, first.foreground) == (7000, 0x102030, 0xFFFFFF)
    # Receivers find media by their names, so no two are the same.
    assert second.video.data == b"film" and second.video.name == "boat-2.png"
    assert [(a.name, len(a.data)) for a in message.attachments] == [("a_b_.zip", 300000)]


def test_a_received_message_can_be_composed_again():
    message = mmskit.open(POSTCARD)
    again = mmskit.read(mmskit.compose(message.slides, attachments=message.attachments, to="+1"))
    for before, after in zip(message.slides, again.slides, strict=True):
        assert str(after.text) == str(before.text) and after.duration == before.duration
        assert (after.image and after.image.data) == (before.image and before.image.data)
    assert again.attachments == message.attachments


SLIDE = mmskit.Slide("x")
IMAGE = mmskit.Media(PNG, "image/png", "a.png")


@pytest.mark.parametrize("why, slides, options", [
    ("no recipient", [SLIDE], {"to": []}),
    ("no phone number", [SLIDE], {"to": "+1;+2"}),
    ("no phone number", [SLIDE], {"to": "1" * 60}),
    ("126 bytes", [SLIDE], {"subject": "s" * 126}),
    ("125 bytes of UTF-8; 124", [SLIDE], {"subject": "ü" + "s" * 123}),
    ("NUL", [mmskit.Slide("a\0b")], {}),
    ("at most 10", [SLIDE] * 11, {}),
    ("at most 10", [], {"attachments": [IMAGE] * 11}),
    ("video", [mmskit.Slide(image=IMAGE, video=IMAGE)], {}),
    ("duration", [mmskit.Slide("x", duration=-1)], {}),
    ("no time", [mmskit.Slide(mmskit.Text("x", 5, 5))], {}),
    ("empty", [mmskit.Slide(image=mmskit.Media(b"", "image/png", "a"))], {}),
    ("24 characters", [mmskit.Slide(image=mmskit.Media(b"x", "image/" + "x" * 30, "a"))], {}),
    ("one of low", [SLIDE], {"priority": "urgent"}),
    ("past", [SLIDE], {"expiry": timedelta(-1)}),
    ("past", [SLIDE], {"expiry": datetime(2020, 1, 1, tzinfo=timezone.utc)}),
])
def test_what_a_message_cannot_carry_is_refused(why, slides, options):
    with pytest.raises(ValueError, match=why):
        mmskit.compose(slides, **{"to": "+15550123", **options})
    assert mmskit.compose([SLIDE], to="+15550123")  # the composer is closed again


def test_long_names_keep_their_extension():
    names = ["ä" * 60 + ".jpeg", "n" * 80]
    attachments = [mmskit.Media(b"x", "image/jpeg", name) for name in names]
    message = mmskit.read(mmskit.compose(attachments=attachments, to="+1"))
    sent = [attachment.name for attachment in message.attachments]
    assert sent[0].startswith("_ää") and sent[0].endswith(".jpeg") and sent[1] == "n" * 49
    assert all(len(name.encode()) <= 49 for name in sent)


def test_values_outlive_what_they_were_read_from():
    content = bytearray(POSTCARD.read_bytes())
    message = mmskit.read(content)
    data = message.slides[0].image.data
    content[:] = bytes(len(content))
    del message
    mmskit.open(ROOT / "examples" / "no-smil.mms")
    gc.collect()
    assert data == (ROOT / "examples" / "media" / "sunset.jpg").read_bytes()


def test_threads_may_read_and_compose_at_once():
    failures = []

    def work():
        for _ in range(20):
            message = mmskit.open(POSTCARD)
            again = mmskit.read(mmskit.compose(message.slides, to="+1"))
            if [str(s.text) for s in again.slides] != [str(s.text) for s in message.slides]:
                failures.append(again)

    threads = [threading.Thread(target=work) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert failures == []


def test_nothing_is_left_allocated():
    big = mmskit.compose([SLIDE], to="+1",
                         attachments=[mmskit.Media(b"x" * 1_000_000, "application/zip", "a.zip")])

    def grown(times):
        before = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
        for _ in range(times):
            message = mmskit.read(big)
            mmskit.compose(message.slides, attachments=message.attachments, to="+1")
        return resource.getrusage(resource.RUSAGE_SELF).ru_maxrss - before

    grown(5)
    assert grown(60) < 20_000  # KiB; one megabyte lost each time would be three times that


def test_records_lie_as_the_binary_interface_has_them():
    recorded = {}
    for line in (ROOT / "tests" / "abi" / "records.expected").read_text().splitlines():
        name, size, *members = line.split()
        recorded[name] = int(size), {m: int(o) for m, o in (each.split("=") for each in members)}
    names = _interface.ffi.list_types()[0]
    assert len(names) > 15
    for name in names:
        fields = {field: info.offset for field, info in _interface.ffi.typeof(name).fields}
        assert (_interface.ffi.sizeof(name), fields) == recorded[name], name


def test_functions_are_declared_as_in_the_headers():
    headers = "".join(path.read_text() for path in sorted((ROOT / "include" / "mmskit").glob("*.h")))
    text = re.sub(r"/\*.*?\*/|//[^\n]*", " ", headers, flags=re.S)
    squeeze = re.compile(r"\s+")
    declared = {squeeze.sub("", each) for each in text.split(";")}
    declared = {each.rsplit("}", 1)[-1].removeprefix('extern"C"{#endif') for each in declared}
    cdef = (ROOT / "python" / "mmskit" / "interface.h").read_text()
    used = re.findall(r"[a-z]\w+\*? fn\w+\([^;]*\)", cdef)
    assert len(used) > 30
    aliases = {"tPAR_Image*out": "tPAR_Video*out"}
    for each in used:
        wanted = squeeze.sub("", each)
        if "CurParVideo" in wanted:
            wanted = wanted.replace(*next(iter(aliases.items())))
        assert any(have.endswith(wanted) for have in declared), each
