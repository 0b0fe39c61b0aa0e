"""mmskit send and fetch against a small message centre. Each row of the tables is a fault: what the
centre does, and then how the command ends, what the centre got, what is on disk and what the person
was told. Run with the path of the built command; arguments after it are unittest's."""

import base64
import os
import pathlib
import pty
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time
import unittest

import centre
from centre import Centre, Fault, notification, retrieve_conf, send_conf, send_req

TOOL = pathlib.Path(sys.argv.pop(1)).resolve()
# What a person waits for is short here. No proxy of the environment may be used: nothing listens.
QUICK = ["--retry-unit", "10", "--total-time", "1200"]
ENVIRONMENT = {**os.environ, "http_proxy": "http://127.0.0.1:1", "ALL_PROXY": "http://127.0.0.1:1"}

PAGE = b"<html><head>\n<title>Log in to the Wi-Fi</title></head><body>Welcome</body></html>\n"
DONE, FAILED, USAGE, UNKNOWN = 0, 1, 2, 4


def closed_port():
    """A port where nothing listens, for as long as the socket that is returned lives."""
    holder = socket.socket()
    holder.bind(("127.0.0.1", 0))
    return holder, holder.getsockname()[1]


class Folder(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="mmskit-")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def start(self, *words, **more):
        return subprocess.Popen([TOOL, *map(str, words)], cwd=self.folder, env=ENVIRONMENT,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, **more)

    def run_tool(self, *words):
        process = self.start(*words)
        out, err = process.communicate(timeout=30)
        return process.returncode, out, err

    def expect_failure(self, told, *words):
        code, _, err = self.run_tool(*words)
        self.assertEqual((code, told in err), (FAILED, True), err)
        return err

    def write(self, name, data):
        (self.folder / name).write_bytes(data)
        return name

    def states(self, name):
        path = self.folder / name
        rows = path.read_text().split("\n") if path.exists() else []
        return [row.split()[1] for row in rows[1:-1]]


# ---- send ---------------------------------------------------------------------------------------

def confirm(**values):
    return Fault(body=send_conf(**values))


# How it ends: the exit code and the journal's last state.
SENT, REFUSED, UNCLEAR = (DONE, "sent"), (FAILED, "refused"), (UNKNOWN, "unknown")

SEND = [
    # name, fault, how it ends, what the person is told
    ("a_good_centre", Fault(), SENT, "Message-ID             id-1"),
    ("an_informational_answer_comes_first",
     Fault(first=b"HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 103 Early Hints\r\nA: b\r\n\r\n"), SENT, "ok"),
    ("a_slow_answer_in_chunks", Fault(form="chunked", delay=0.5), SENT, "ok"),
    ("an_answer_of_http_1.0", Fault(version="HTTP/1.0", form="close"), SENT, "ok"),
    ("201_is_as_good_as_200", Fault(status="201 Created"), SENT, "ok"),
    ("a_text_of_the_centre_is_shown", confirm(words="Thank you"), SENT, "Thank you"),
    ("an_error_status_with_200", confirm(status=0xE3, words="Who is that?"), REFUSED,
     "error-permanent-sending-address-unresolved: Who is that?"),
    ("an_unknown_status", confirm(status=0x99), REFUSED, "0x99"),
    ("some_recipients_only", confirm(status=0xC4), (FAILED, "partly-sent"), "only some recipients"),
    ("another_transaction_id", confirm(tid="T2"), UNCLEAR, 'another transaction, "T2"'),
    ("another_kind_of_answer", Fault(body=retrieve_conf()), UNCLEAR, "m-retrieve-conf"),
    ("no_status", Fault(body=b"\x8c\x81\x98T1\0\x8d\x92"), UNCLEAR, "no status"),
    ("an_empty_answer", Fault(body=b""), UNCLEAR, "an empty answer"),
    ("a_page_with_200", Fault(body=PAGE, type="text/html"), UNCLEAR, '"Log in to the Wi-Fi"'),
    ("bytes_with_200", Fault(body=b"\0\1\2"), UNCLEAR, "3 bytes"),
    ("a_redirect", Fault(status="302 Found", headers=["Location: http://127.0.0.1:1/login?u=1"]), REFUSED,
     "302, a redirect to http://127.0.0.1:1/..., which is not followed: is this device on the carrier's MMS network?"),
    ("not_found", Fault(status="404 Not Found"), REFUSED, "HTTP status 404"),
    ("a_log_in_is_wanted", Fault(status="511 Network Authentication Required"), REFUSED, "511"),
    ("the_centre_fails", Fault(status="500 Internal Server Error"), UNCLEAR, "HTTP status 500"),
    ("a_gateway_waits_in_vain", Fault(status="504 Gateway Timeout"), UNCLEAR, "504"),
    ("an_answer_above_the_limit", Fault(body=bytes(20000)), UNCLEAR, "larger than 16384 bytes"),
    ("an_endless_answer_above_the_limit", Fault(body=bytes(20000), form="close"), UNCLEAR, "larger than 16384 bytes"),
    ("closed_after_the_request", Fault(cut=0), UNCLEAR, "not known"),
    ("cut_in_the_headers", Fault(cut=40), UNCLEAR, "not known"),
    ("cut_in_a_chunk", Fault(form="chunked", cut=-9), UNCLEAR, "not known"),
    ("no_answer_at_all", Fault(delay=1.5), UNCLEAR, "not known"),
]


class Send(Folder):
    def send(self, one, *words, message=None, name="a.mms", url=None):
        self.write(name, message or send_req(body=bytes(3000)))
        outcome = self.run_tool("send", name, "--mmsc", url or one.url, *QUICK, *words)
        one.settle()
        return outcome

    def start_posting(self, one, name):
        process = self.start("send", name, "--mmsc", one.url)
        while not one.requests:
            time.sleep(0.01)
        return process

    def test_faults(self):
        for name, fault, (code, state), told in SEND:
            with self.subTest(name), Centre([fault]) as one:
                message = f"{name}.mms"
                got, out, err = self.send(one, "--answer-limit", "16384", name=message)
                self.assertEqual((got, len(one.delivered)), (code, 1), err)
                self.assertIn(told, out + err)
                self.assertNotIn("Traceback", err)
                self.assertEqual(self.states(f"{message}.journal"), ["sending", state])
                self.assertEqual(one.connections, 1, "a POST is not repeated by itself")
                # A second run posts only what is known not to have been taken.
                again, _, err = self.send(one, name=message)
                free = state in ("refused", "not-sent")
                self.assertEqual(one.connections, 2 if free else 1)
                self.assertEqual(again, DONE if free else code, err)
                # Asked to, it posts once more.
                before = one.connections
                self.assertEqual(self.send(one, "--again", name=message)[0], DONE)
                self.assertEqual(one.connections, before + 1)

    def test_closed_before_all_was_read(self):
        # Whether a byte of the body left before the end was seen is a matter of moments; if none
        # did, it is tried again.
        for number, fault in enumerate((Fault(refuse=True), Fault(read=5), Fault(read=200), Fault(read=1000))):
            with self.subTest(number), Centre([fault]) as one:
                code, _, err = self.send(one, name=f"{number}.mms")
                outcome = code, len(one.delivered), self.states(f"{number}.mms.journal")[-1]
                self.assertIn(outcome, ((UNKNOWN, 0, "unknown"), (DONE, 1, "sent")), err)
                self.assertEqual("trying again" in err, code == DONE, err)

    def test_a_message_goes_as_it_is_and_says_what_the_client_takes(self):
        message = send_req(body=bytes(range(256)) * 1000)
        with Centre() as one:
            words = ["--user-agent", "Phone/1", "--uaprof", "http://x.example/p.xml", "--header",
                     "X-MDN: 123", "-o", "answer"]
            self.assertEqual(self.send(one, *words, message=message)[0], DONE)
        request = one.requests[0]
        self.assertEqual(request.body, message)
        self.assertEqual((self.folder / "answer").read_bytes(), send_conf())
        self.assertEqual(request.headers, {
            "host": f"127.0.0.1:{one.port}", "user-agent": "Phone/1",
            "accept": "*/*, application/vnd.wap.mms-message", "content-length": str(len(message)),
            "content-type": "application/vnd.wap.mms-message", "x-mdn": "123",
            "x-wap-profile": "http://x.example/p.xml"})
        self.assertEqual(f"{request.method} {request.path} {request.version}", "POST /mms HTTP/1.1")

    def test_nothing_is_sent_and_it_is_tried_again_without_a_connection(self):
        holder, port = closed_port()
        with holder:
            for host in (f"127.0.0.1:{port}", "a" * 70):  # too long a label: nobody is asked
                name = self.write(f"{host[0]}.mms", send_req())
                err = self.expect_failure("nothing was sent", "send", name, "--mmsc", f"http://{host}/", *QUICK)
                self.assertEqual(err.count("trying again"), 3, err)
                self.assertEqual(self.states(f"{name}.journal"), ["sending", "not-sent"])

    def test_a_centre_that_comes_up_in_between_gets_it_once(self):
        holder, port = closed_port()
        process = self.start("send", self.write("a.mms", send_req()), "--mmsc",
                             f"http://127.0.0.1:{port}/", "--retry-unit", "200")
        process.stderr.readline()
        holder.close()
        with Centre(port=port) as one:
            _, err = process.communicate(timeout=20)
        self.assertEqual((process.returncode, len(one.delivered)), (DONE, 1), err)

    def test_the_way_to_the_centre(self):
        with Centre() as one:
            url, here = "http://mmsc.example/mms", f"mmsc.example:{one.port}"
            rows = [(url, url, "mmsc.example",  # carriers write a proxy like this
                     ["--proxy", f"127.000.000.001:{one.port:05}"]),
                    (f"http://{here}/mms", "/mms", here,
                     ["--interface", "lo", "--resolve", f"{here}:127.0.0.1"])]
            for address, path, host, words in rows:
                code, _, err = self.send(one, *words, url=address, name=f"{host}.mms")
                asked = one.requests[-1]
                self.assertEqual((code, asked.path, asked.headers["host"]), (DONE, path, host), err)

    def test_a_stop_leaves_a_truthful_journal(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            with self.subTest(number), Centre([Fault(delay=2)]) as one:
                name = self.write(f"{number}.mms", send_req())
                process = self.start_posting(one, name)
                process.send_signal(number)
                _, err = process.communicate(timeout=5)
                self.assertEqual(process.returncode, UNKNOWN, err)
                self.assertEqual(self.states(f"{name}.journal"), ["sending", "unknown"])

    def test_a_stop_while_it_waits_to_try_again(self):
        holder, port = closed_port()
        with holder:
            process = self.start("send", self.write("a.mms", send_req()), "--mmsc", f"http://127.0.0.1:{port}/")
            process.stderr.readline()
            process.send_signal(signal.SIGINT)
            process.communicate(timeout=2)
        self.assertEqual(process.returncode, FAILED)
        self.assertEqual(self.states("a.mms.journal"), ["sending", "not-sent"])

    def test_two_programs_send_it_once(self):
        with Centre([Fault(delay=1)]) as one:
            name = self.write("a.mms", send_req())
            first = self.start_posting(one, name)
            code, _, err = self.send(one)
            first.communicate(timeout=5)
        self.assertEqual((code, first.returncode, len(one.delivered)), (FAILED, DONE, 1), err)
        self.assertIn("another mmskit", err)

    def test_a_message_that_is_written_anew_is_another_one(self):
        with Centre() as one:
            self.send(one, message=send_req("T1"))
            self.assertEqual(self.send(one, message=send_req("T2"))[0], DONE)
            self.send(one, message=send_req("T1"))
        self.assertEqual(len(one.delivered), 2)

    def test_without_a_journal_nothing_leaves(self):
        with Centre() as one:
            self.write("a.mms.journal", b"my diary\n")
            code, _, err = self.send(one)
            self.assertEqual((code, "no journal of mmskit" in err), (FAILED, True), err)
            self.assertEqual((self.folder / "a.mms.journal").read_bytes(), b"my diary\n")
            os.remove(self.folder / "a.mms.journal")
            os.mkdir(self.folder / "a.mms.journal")
            self.assertEqual(self.send(one)[0], FAILED)
        self.assertEqual(one.connections, 0)

    def test_half_a_line_of_a_journal_does_not_count(self):
        with Centre() as one:
            self.send(one)
            path = self.folder / "a.mms.journal"
            whole = path.read_bytes()
            for size, code, delivered in ((5, DONE, 2), (30, DONE, 3), (len(whole) - 1, UNKNOWN, 3),
                                          (len(whole), DONE, 3)):
                path.write_bytes(whole[:size])
                self.assertEqual(self.send(one)[0], code, size)
                self.assertEqual(len(one.delivered), delivered, size)

    def test_what_the_message_would_lose_is_told_first(self):
        rows = [(dict(body=bytes(400 * 1024)), "take no more than 307200"),
                (dict(subject="s" * 126), "the subject has 126 bytes"),
                (dict(name="n" * 50 + ".txt"), "has 54 bytes")]
        for values, told in rows:
            with self.subTest(told), Centre() as one:
                code, _, err = self.send(one, message=send_req(told[:3] + "T", **values))
                self.assertIn("warning: a.mms: ", err)
                self.assertIn(told, err)
                self.assertEqual((code, len(one.delivered)), (DONE, 1))
        with Centre() as one:
            message = send_req("T9", body=bytes(400 * 1024))
            self.assertEqual(self.send(one, "--max-size", "1M", message=message)[2], "")

    def test_what_cannot_be_sent_is_refused(self):
        rows = [(retrieve_conf(), "m-retrieve-conf"), (send_conf(), "m-send-conf"),
                (b"\xff\xd8\xff", "no message"), (send_req().hex().encode(), "wrapped"),
                (send_req(to=None), "no recipient"), (send_req(tid=None), "no transaction id")]
        with Centre() as one:
            for message, told in rows:
                code, _, err = self.send(one, message=message)
                self.assertEqual((code, told in err), (FAILED, True), err)
        self.assertEqual(one.connections, 0)
        self.assertFalse((self.folder / "a.mms.journal").exists())

    def test_reports(self):
        retrieved = self.write("r.mms", retrieve_conf())
        notified = self.write("n.mms", notification("http://127.0.0.1:1/"))
        rows = [(retrieved, "read", b"\x8c\x87\x8d\x92\x8bm-1\0\x89\x01\x81\x97+15550100/TYPE=PLMN\0", b"\x9b\x80"),
                (retrieved, "deleted", b"\x8c\x87", b"\x9b\x81"),
                (retrieved, "acknowledge", b"\x8c\x85\x98R1\0\x8d\x92\x91\x80", b""),
                (notified, "retrieved", b"\x8c\x83\x98N1\0\x8d\x92", b"\x95\x81"),
                (notified, "rejected", b"\x8c\x83\x98N1\0\x8d\x92", b"\x95\x82"),
                (notified, "deferred", b"\x8c\x83\x98N1\0\x8d\x92", b"\x95\x83")]
        with Centre() as one:
            for name, report, front, inside in rows:
                for _ in range(2):  # the second time it is known to have been sent
                    code, _, err = self.run_tool("send", "--report", report, name, "--mmsc", one.url, *QUICK)
                    self.assertEqual(code, DONE, err)
                answer = one.answers[-1]
                self.assertTrue(answer.startswith(front), answer)
                self.assertIn(inside, answer)
            self.assertEqual(len(one.answers), len(rows))
            self.expect_failure("answers m-retrieve-conf", "send", "--report", "read", notified,
                                "--mmsc", one.url)

    def test_an_answer_that_was_written_before(self):
        ack = b"\x8c\x85\x98R1\0\x8d\x92\x91\x80"
        rows = [(Fault(status="204 No Content", body=b""), SENT), (Fault(status="400 Bad"), REFUSED),
                (Fault(cut=0), UNCLEAR)]
        for number, (fault, (code, state)) in enumerate(rows):
            with self.subTest(number), Centre([fault]) as one:
                name = f"{number}.mms"
                self.assertEqual(self.send(one, message=ack, name=name)[0], code)
                self.assertEqual(one.answers, [ack])
                self.assertEqual(self.states(f"{name}.journal"), ["sending", state])

    def test_wrong_usage(self):
        self.write("a.mms", send_req())
        somewhere = ["--mmsc", "http://127.0.0.1:1/"]
        for words in (["a.mms"], ["-", *somewhere], ["a.mms", *somewhere, "--max-size", "much"],
                      ["a.mms", *somewhere, "--header", "no colon"],
                      ["a.mms", *somewhere, "--header", "A: b\r\nC: d"]):
            self.assertEqual(self.run_tool("send", *words)[0], USAGE, words)
        for url in ("ftp://127.0.0.1/", "127.0.0.1:80", "file:///etc/passwd", "http://a b/"):
            self.expect_failure("no http or https address", "send", "a.mms", "--mmsc", url)
        self.assertFalse((self.folder / "a.mms.journal").exists())

    def test_progress_on_a_terminal(self):
        master, slave = pty.openpty()
        with Centre([Fault(delay=0.6)]) as one:
            name = self.write("a.mms", send_req(body=bytes(100000)))
            process = subprocess.Popen([TOOL, "send", name, "--mmsc", one.url], cwd=self.folder,
                                       stdout=subprocess.DEVNULL, stderr=slave)
            os.close(slave)
            self.assertEqual(process.wait(timeout=10), DONE)
        self.assertRegex(os.read(master, 4096).decode(), r"sent 98 of 98 KB, [0-9.]+ KB/s")
        os.close(master)


# ---- fetch --------------------------------------------------------------------------------------

MESSAGE = retrieve_conf(body=b"hello there" * 50)
TRANSIENT = retrieve_conf(None, status=0xC0, words="later", body=None)

SHUT, NOT_FOUND = Fault(refuse=True), Fault(status="404 Not Found")

FETCH = [
    # name, faults of the GETs, exit, GETs, kept as an answer, what the person is told
    ("a_good_centre", [], DONE, 1, "Message-ID             m-1"),
    ("an_answer_of_http_1.0", [Fault(version="HTTP/1.0", form="close")], DONE, 1, "the message"),
    ("cut_in_the_headers", [Fault(cut=50)], DONE, 2, "trying again in 2 s"),
    ("cut_in_a_chunk", [Fault(form="chunked", cut=-100)], DONE, 2, "trying again"),
    ("cut_where_nothing_tells_the_end", [Fault(form="close", cut=-100)], DONE, 2, "broke off"),
    ("closed_at_once_three_times", [SHUT] * 3, DONE, 4, "trying again in 8 s"),
    ("closed_at_once_four_times", [SHUT] * 4, FAILED, 4, "mmskit: http://127.0.0.1:"),
    ("a_busy_centre", [Fault(status="503 Busy", body=b"wait")], DONE, 2, '503: "wait"'),
    ("a_gateway_waits_in_vain", [Fault(status="504 Slow")] * 4, FAILED, 4, "504"),
    ("not_found_at_first", [Fault(status="404 Not Found", body=b"nope")], DONE, 2, "404"),
    ("not_found_twice", [Fault(status="404 Not Found", body=b"gone")] * 3, FAILED, 2, '"gone"'),
    ("not_found_after_a_failure", [SHUT, NOT_FOUND, NOT_FOUND], FAILED, 3, "404"),
    ("refused", [Fault(status="403 Forbidden", body=b"No.\nNever.")], FAILED, 1, '403: "No."'),
    ("a_redirect", [Fault(status="302 Found", headers=["Location: http://127.0.0.1:1/x?y=secret"])],
     FAILED, 1, "is this device on the carrier's MMS network?"),
    ("a_page_with_200", [Fault(body=PAGE, type="text/html")], FAILED, 1, '"Log in to the Wi-Fi"'),
    ("a_text_with_200", [Fault(body=b"\n Try again.\nBye")], FAILED, 1, '"Try again."'),
    ("an_empty_answer", [Fault(body=b"")], FAILED, 1, "empty"),
    ("another_kind_of_answer", [Fault(body=send_conf())], FAILED, 1, "m-send-conf"),
    ("a_message_without_id", [Fault(body=retrieve_conf(None))], FAILED, 1, "without a Message-ID"),
    ("a_permanent_error_status",
     [Fault(body=retrieve_conf(status=0xE2, words="expired", body=None))], FAILED, 1,
     "error-permanent-message-not-found: expired"),
    ("a_transient_error_status", [Fault(body=TRANSIENT)], DONE, 2, "error-transient-failure: later"),
    ("a_transient_error_that_stays", [Fault(body=TRANSIENT)] * 4, FAILED, 4, "later"),
    ("above_the_limit", [Fault(body=bytes(70000))], FAILED, 1, "larger than 65536 bytes"),
    ("above_the_limit_without_length", [Fault(body=bytes(70000), form="close")], FAILED, 1, "larger than 65536 bytes"),
    ("no_answer_in_time", [Fault(delay=1.5)], DONE, 2, "timed out"),
    ("a_header_of_a_later_version", [Fault(body=retrieve_conf(extra=b"\xa3\x80"))], DONE, 1, "the message is in"),
    ("a_good_status", [Fault(body=retrieve_conf(status=0x80))], DONE, 1, "the message is in"),
]


class Fetch(Folder):
    def fetch(self, one, *words, tid="N1", expiry=b"\x81\x03\x01\x51\x80", times=QUICK):
        self.write("n.mms", notification(one.at("/m/1?token=secret"), tid, expiry))
        outcome = self.run_tool("fetch", "n.mms", "-o", "d", *times, *words)
        one.settle()
        return outcome

    def centre(self, faults=()):
        return Centre(faults, {"/m/1?token=secret": MESSAGE}, self.on_disk_before)

    def on_disk_before(self, answer):
        """Called by the centre when it is told: the message must be there, whole."""
        if answer[1] == centre.ACKNOWLEDGE or b"\x95\x81" in answer:
            self.assertIn(MESSAGE, self.messages("d*/**"))

    def messages(self, folder="d"):
        return [path.read_bytes() for path in self.folder.glob(f"{folder}/*.mms")]

    def kinds(self, one):
        return [(request.method, request.kind()) for request in one.requests]

    def test_faults(self):
        for name, faults, code, gets, told in FETCH:
            with self.subTest(name), Centre(faults, {"/m/1?token=secret": MESSAGE}) as one:
                # By its name, so that every row has files of its own.
                got, out, err = self.fetch(one, "--answer-limit", "65536", tid=name)
                self.assertEqual(got, code, out + err)
                asked = [request for request in one.requests if request.method == "GET"]
                self.assertEqual(one.connections, gets + (code == DONE), err)
                self.assertTrue(all(request.headers["accept"].startswith("*/*") for request in asked))
                self.assertIn(told, out + err)
                self.assertNotIn("secret", out + err, "a URL is a password to its message")
                files = sorted(path.name for path in (self.folder / "d").glob(f"{name}*"))
                answered = faults and not faults[-1].refuse and faults[-1].body != b""
                if code == DONE:
                    self.assertEqual(files, [f"{name}.journal", f"{name}.mms"])
                    self.assertEqual([centre.transaction_id(pdu) for pdu in one.answers], [name])
                else:
                    self.assertEqual(one.answers, [], "what is not here is not acknowledged")
                    kept = [f"{name}.answer"] if answered else []
                    self.assertEqual(files, kept + [f"{name}.journal"])

    def test_at_once_answers_the_notification(self):
        with self.centre() as one:
            code, out, err = self.fetch(one)
            self.assertEqual((code, self.messages()), (DONE, [MESSAGE]), err)
            self.assertIn("m-retrieve-conf", out)
            # Known again by its transaction id, whatever file it comes in.
            self.write("n2.mms", notification(one.at("/other"), "N1"))
            code, out, err = self.run_tool("fetch", "n2.mms", "-o", "d", *QUICK)
            self.assertEqual((code, "m-retrieve-conf" in out), (DONE, True), err)
            self.assertIn("fetched already", err)
        self.assertEqual(one.answers, [b"\x8c\x83\x98N1\0\x8d\x92\x91\x80\x95\x81"])
        self.assertEqual(self.kinds(one), [("GET", None), ("POST", centre.NOTIFYRESP)])
        self.assertEqual(self.states("d/N1.journal"), ["fetching", "stored", "acknowledging", "acknowledged"])

    def test_deferred_and_fetched_later_acknowledges_the_message(self):
        with self.centre() as one:
            self.assertEqual(self.fetch(one, "--defer")[0], DONE)
            self.assertEqual(self.messages(), [])
            self.assertEqual(self.fetch(one, "--no-report")[0], DONE)
        self.assertEqual(one.answers, [b"\x8c\x83\x98N1\0\x8d\x92\x91\x80\x95\x83",
                                       b"\x8c\x85\x98R1\0\x8d\x92\x91\x81"])

    def test_rejected_stays_rejected(self):
        with self.centre() as one:
            self.assertEqual(self.fetch(one, "--reject")[0], DONE)
            self.assertEqual(self.fetch(one)[0], FAILED)
            self.assertEqual(one.answers, [b"\x8c\x83\x98N1\0\x8d\x92\x91\x80\x95\x82"])
            self.assertEqual(self.messages(), [])
            self.assertEqual(self.fetch(one, "--again")[0], DONE)
            self.assertEqual(self.fetch(one, "--reject")[0], FAILED, "it is here")

    def test_a_url_alone(self):
        with self.centre() as one:
            url = one.at("/m/1?token=secret")
            for _ in range(2):
                self.assertEqual(self.run_tool("fetch", url, "-o", "d", *QUICK)[0], DONE)
            self.assertEqual(self.run_tool("fetch", url, "-o", "d", "--defer")[0], USAGE)
        self.assertEqual(one.answers, [b"\x8c\x85\x98R1\0\x8d\x92\x91\x80"])

    def test_a_message_that_asks_for_no_acknowledgement_gets_none(self):
        with Centre(messages={"/x": retrieve_conf(tid=None)}) as one:
            self.assertEqual(self.run_tool("fetch", one.at("/x"), "-o", "d", *QUICK)[0], DONE)
        self.assertEqual(self.kinds(one), [("GET", None)])

    def test_answers_go_to_the_centre_that_is_named(self):
        with self.centre() as one, self.centre() as other:
            self.assertEqual(self.fetch(one, "--mmsc", other.url)[0], DONE)
        self.assertEqual((len(one.answers), len(other.answers)), (0, 1))

    def test_an_answer_that_fails_keeps_the_message_and_is_given_later(self):
        rows = [(Fault(status="404 Not Found"), FAILED), (Fault(cut=0), UNKNOWN),
                (Fault(status="500 Oops"), UNKNOWN), (Fault(refuse=True), UNKNOWN)]
        for number, (fault, code) in enumerate(rows):
            with self.subTest(number), self.centre([Fault(), fault]) as one:
                self.assertEqual(self.fetch(one, tid=f"A{number}")[0], code)
                self.assertEqual(len(self.messages()), number + 1)
                got, out, err = self.fetch(one, tid=f"A{number}")
                self.assertEqual((got, "m-retrieve-conf" in out), (DONE, True), err)
                self.assertEqual([kind for kind, _ in self.kinds(one)].count("GET"), 1)
                self.assertEqual(centre.transaction_id(one.answers[-1]), f"A{number}")

    def test_after_its_expiry_it_is_tried_once_only(self):
        for tid, expiry in (("E1", b"\x80\x04\x60\x00\x00\x00"), ("E2", b"\x81\x01\x00")):
            with self.centre([Fault(refuse=True)]) as one:
                self.assertEqual(self.fetch(one, tid=tid, expiry=expiry)[0], FAILED)
            self.assertEqual(one.connections, 1, tid)

    def test_nothing_of_the_user_is_overwritten(self):
        os.mkdir(self.folder / "d")
        self.write("d/N1.mms", b"mine")
        with self.centre() as one:
            self.assertEqual(self.fetch(one)[0], DONE)
            self.assertEqual(sorted(self.messages()), sorted([b"mine", MESSAGE]))
            self.assertEqual(self.fetch(one, "--again")[0], DONE)
        self.assertEqual(self.messages().count(MESSAGE), 2)

    def test_an_answer_that_stalls_is_given_up(self):
        with self.centre([Fault(trickle=0.3)]) as one:
            code, _, err = self.fetch(one, times=["--stall-time", "1000", "--retry-unit", "10"])
            self.assertEqual((code, one.connections), (DONE, 3), err)
        self.assertIn("too slow", err)

    def test_a_transaction_id_is_no_path(self):
        for tid in ("../../x", "/etc/x", ".", "..", "-o", "a b\tc", "x" * 500):
            with self.centre() as one:
                self.assertEqual(self.fetch(one, tid=tid)[0], DONE, tid)
        self.assertEqual(sorted(path.name for path in self.folder.iterdir()), ["d", "n.mms"])
        self.assertEqual(len(self.messages()), 7)

    def test_a_folder_that_cannot_be_written_asks_for_nothing(self):
        self.write("d", b"a file")
        with self.centre() as one:
            self.assertEqual(self.fetch(one)[0], FAILED)
        self.assertEqual(one.connections, 0)

    def test_a_notification_in_any_form(self):
        with self.centre() as one:
            for number, form in enumerate((
                    lambda pdu: pdu.hex().encode() + b"\n",
                    base64.encodebytes,
                    lambda pdu: b"\x01\x06\x04\xbe\xaf\x84\x00" + pdu,  # a push
                    lambda pdu: (b"HTTP/1.1 200 OK\r\nContent-Type: %s\r\n\r\n"
                                 % centre.MEDIA_TYPE.encode() + pdu))):
                tid = f"F{number}"
                self.write("n", form(notification(one.at("/m/1?token=secret"), tid)))
                code, _, err = self.run_tool("fetch", "n", "-o", f"d{number}/e/f/", *QUICK)
                self.assertEqual((code, centre.transaction_id(one.answers[-1])), (DONE, tid), err)

    def test_a_message_that_was_cut_where_nothing_tells_its_end_is_not_acknowledged(self):
        for size in range(2, len(MESSAGE), 23):
            faults = [Fault(form="close", body=MESSAGE[:size])] * 4
            with Centre(faults) as one:
                code, _, err = self.fetch(one, "--no-show", tid=f"C{size}")
                self.assertEqual((code, one.answers), (FAILED, []), f"{size}: {err}")

    def test_what_is_no_notification(self):
        with self.centre() as one:
            for data in (send_req(), b"", PAGE, notification("ftp://127.0.0.1/"), notification("")):
                self.write("x", data)
                self.assertEqual(self.run_tool("fetch", "x", "-o", "d")[0], FAILED, data)
        self.assertEqual(one.connections, 0)


if __name__ == "__main__":
    unittest.main(verbosity=1)
