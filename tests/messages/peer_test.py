"""What the encoders make, read by an independent decoder: Wireshark's MMSE dissector. Each row is a command line, and
all that the dissector must find in the PDU which it writes. Run with the path of the built command; the exit code is 77
where tshark is not."""

import os
import pathlib
import re
import shlex
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree

TOOL = pathlib.Path(sys.argv.pop(1)).resolve()
IN_2021 = "Jan 14, 2021 08:25:36.000000000 UTC"
IN_2037 = "Jan  1, 2037 00:00:00.000000000 UTC"
HOURS_3 = "10800.000000000"
MIXED = "content_type=application/vnd.wap.multipart.mixed"
FROM_RELAY = "mms_version=1.2|from=<insert address>"
USUAL = "message_class.id=0x80|priority=0x81|sender_visibility=0x81|delivery_report=0x81|read_report=0x81"


def part(kind, name, charset=""):
    return f'|content_type={kind}|name={name}{charset}|content_id="<{name}>"|content_location={name}'


SMIL = ("content_type=application/vnd.wap.multipart.related|upart.type=application/smil|start=<AAAA>"
        '|content_type=application/smil|name=mms.smil|charset=UTF-8|content_id="<AAAA>"')
N40, S125, Q122 = "n" * 40, "s" * 125, "ü" + "q" * 122

ROWS = [
    ("compose --to +2 --to ab@c --cc ü@h --bcc e@f --from +9 --subject Grüße --class informational --priority high"
     " --expiry 3h --delivery-time 3h --date 2021-01-14T08:25:36Z --hide-sender --delivery-report --read-report",
     f"message_type=0x80|transaction_id=T1|mms_version=1.2|date={IN_2021}|from=+9/TYPE=PLMN|to=+2/TYPE=PLMN|to=ab@c"
     f"|cc=ü@h|bcc=e@f|subject=Grüße|message_class.id=0x82|expiry.rel={HOURS_3}|delivery_time.rel={HOURS_3}"
     f"|priority=0x82|sender_visibility=0x80|delivery_report=0x80|read_report=0x80|{MIXED}"),
    (f"compose --to +2 --subject {S125} --slide text=@t.txt image=a.gif --attach t.txt name=z.bin type=application/x-z",
     f"message_type=0x80|transaction_id=T1|{FROM_RELAY}|to=+2/TYPE=PLMN|subject={S125}|{USUAL}|{SMIL}"
     + part("text/plain", "Text0.txt", "|charset=UTF-8") + part("image/gif", "a.gif")
     + part("application/x-z", "z.bin")),
    (f"compose --to +2 --subject {Q122} --expiry 2037-01-01 --attach a.gif name={N40} type=x/y",
     f"message_type=0x80|transaction_id=T1|{FROM_RELAY}|to=+2/TYPE=PLMN|subject={Q122}"
     + f"|{USUAL}|{SMIL}".replace("|priority", f"|expiry.abs={IN_2037}|priority") + part("x/y", N40)),
    ("forward --by-location http://h/1 --to +1 --cc c@d --delivery-time 3h --expiry 2037-01-01 --read-report",
     f"message_type=0x89|transaction_id=T1|{FROM_RELAY}|to=+1/TYPE=PLMN|cc=c@d|expiry.abs={IN_2037}"
     f"|delivery_time.rel={HOURS_3}|delivery_report=0x81|read_report=0x80|content_location=http://h/1"),
    ("respond ack", "message_type=0x85|transaction_id=T1|mms_version=1.2|report_allowed=0x80"),
    ("respond notify --status rejected --no-report",
     "message_type=0x83|transaction_id=T1|mms_version=1.2|report_allowed=0x81|status=0x82"),
    ("respond read --message-id m --to a@b --deleted --date 2021-01-14T08:25:36Z",
     f"message_type=0x87|mms_version=1.2|message_id=m|from=<insert address>|to=a@b|date={IN_2021}|read_status=0x81"),
    ("respond read-message --to +1 --subject Read",
     f"message_type=0x80|transaction_id=T1|{FROM_RELAY}|to=+1/TYPE=PLMN|subject=Read|message_class.id=0x83"
     f"|delivery_report=0x81|read_report=0x81|{MIXED}"),
]


def facts(packet):
    """The fields of a PDU in its order, "name=value|name=value"; a subject's bytes, less character set and quote."""
    found = []
    for field in packet.find("proto[@name='mmse']").iter("field"):
        known = re.fullmatch(r"(?:mmse|wsp\.parameter|wsp\.header)\.(.+)", field.get("name"))
        name, value = known[1] if known else "type", field.get("show")
        if name == "subject":
            value = bytes.fromhex(field.get("value")).split(b"\xea")[1].decode().strip("\x7f\0")
        if name not in ("type", "name_value"):  # the codes of what follows
            found.append(f"{name}={value}")
    return "|".join(found)


class Peer(unittest.TestCase):
    maxDiff = None

    def test_finds_what_was_asked_for(self):
        with tempfile.TemporaryDirectory(prefix="mmskit-") as name:
            folder = pathlib.Path(name)
            (folder / "a.gif").write_bytes(b"GIF89a" + bytes(200))
            (folder / "t.txt").write_text("Grüße", encoding="utf-8")
            # Packets of a link type of the user (147), each a connectionless WSP post.
            capture = struct.pack("<6I", 0xA1B2C3D4, 0x00040002, 0, 0, 0x40000, 147)
            for line, _ in ROWS:
                ids = [] if line.startswith("respond read ") else ["--transaction-id", "T1"]
                pdu = subprocess.run([TOOL, *shlex.split(line), *ids, "-o", "-"], cwd=folder, check=True,
                                     stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
                packet = b"\x01\x60\x01\x01/\xbe" + pdu
                capture += struct.pack("<4I", 0, 0, len(packet), len(packet)) + packet
            (folder / "pcap").write_bytes(capture)
            (folder / "user_dlts").write_text('"User 0 (DLT=147)","wsp-cl","0","","0",""\n')
            settings = {"HOME": name, "WIRESHARK_CONFIG_DIR": name, "TZ": "UTC"}
            told = subprocess.run(["tshark", "-n", "-r", "pcap", "-T", "pdml"], cwd=folder, env={**os.environ, **settings},
                                  stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        packets = ElementTree.fromstring(told.stdout).findall("packet")
        self.assertEqual(len(packets), len(ROWS))
        for (line, expected), packet in zip(ROWS, packets):
            with self.subTest(line):
                self.assertEqual(facts(packet), expected)


if __name__ == "__main__":
    if shutil.which("tshark") is None:
        sys.exit(77)
    unittest.main()
