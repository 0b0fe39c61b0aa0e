"""A small message centre on the loopback: MM1 over HTTP, with faults on demand.

It has its own few lines of WSP and shares nothing with the library that is tested. HTTP is written
out by hand, a connection a request, so that either direction can be cut at any byte. Like a real
centre it delivers what is posted, twice when it is posted twice, and also when the client has left
before the answer."""

import socket
import threading
import time
from dataclasses import dataclass

MEDIA_TYPE = "application/vnd.wap.mms-message"

SEND_REQ, SEND_CONF, NOTIFICATION, NOTIFYRESP, RETRIEVE_CONF, ACKNOWLEDGE = range(0x80, 0x86)
READ_REC, FORWARD_REQ, FORWARD_CONF = 0x87, 0x89, 0x8A
SENDER = b"\x89\x0b\x80+15550100\0"


# ---- PDUs ---------------------------------------------------------------------------------------

def text(code, value):
    return bytes([code]) + value.encode() + b"\0"


def uintvar(value):
    out = bytes([value & 0x7F])
    while value := value >> 7:
        out = bytes([0x80 | value & 0x7F]) + out
    return out


def content(body, name="a.txt"):
    headers = bytes([0x83]) + text(0x8E, name)
    return b"\x84\xa3\x01" + uintvar(len(headers)) + uintvar(len(body)) + headers + body


def send_req(tid="T1", body=b"hello", subject=None, to="+123/TYPE=PLMN", name="a.txt"):
    return (bytes([0x8C, SEND_REQ]) + (text(0x98, tid) if tid else b"") + b"\x8d\x92\x89\x01\x81"
            + (text(0x97, to) if to else b"") + (text(0x96, subject) if subject else b"")
            + content(body, name))


def send_conf(tid="T1", status=0x80, words=None, message_id="id-1", type=SEND_CONF):
    return (bytes([0x8C, type]) + text(0x98, tid) + b"\x8d\x92" + bytes([0x92, status])
            + (text(0x93, words) if words else b"")
            + (text(0x8B, message_id) if message_id else b""))


def notification(url, tid="N1", expiry=b"\x81\x03\x01\x51\x80"):
    return (bytes([0x8C, NOTIFICATION]) + text(0x98, tid) + b"\x8d\x92" + SENDER
            + b"\x8a\x80\x8e\x02\x04\x00\x88" + bytes([len(expiry)]) + expiry + text(0x83, url))


def retrieve_conf(message_id="m-1", tid="R1", status=None, words=None, body=b"hello there", extra=b""):
    return (bytes([0x8C, RETRIEVE_CONF]) + (text(0x98, tid) if tid else b"") + b"\x8d\x92"
            + (text(0x8B, message_id) if message_id else b"") + b"\x85\x04\x68\x00\x00\x00"
            + SENDER + extra + (bytes([0x99, status]) if status else b"")
            + (text(0x9A, words) if words else b"") + (content(body) if body else b""))


def transaction_id(pdu):
    start = pdu.index(b"\x98") + 1
    return pdu[start:pdu.index(b"\0", start)].decode()


# ---- The centre ---------------------------------------------------------------------------------

class Request:
    def __init__(self, line, headers, body, complete):
        self.method, self.path, self.version = line.split(" ")
        self.headers, self.body, self.complete = headers, body, complete

    def kind(self):
        return self.body[1] if len(self.body) > 1 and self.body[0] == 0x8C else None


@dataclass
class Fault:
    """What one connection does unlike a good centre; all of it optional."""

    refuse: bool = False      # close before anything is read
    read: int = None          # close after so many bytes of the request, without an answer
    cut: int = None           # close after so many bytes of the answer
    delay: float = 0          # seconds before the answer
    first: bytes = b""        # bytes in front of the answer
    status: str = "200 OK"
    body: bytes = None        # or a function of the request
    headers: tuple = ()
    version: str = "HTTP/1.1"
    form: str = "length"      # how the answer's end is told: "length", "chunked" or "close"
    type: str = MEDIA_TYPE
    trickle: float = 0        # seconds between the bytes of the body


class Centre:
    """`faults` are used up one a request; then the centre is good. `messages` are what it holds, by
    path; `delivered`, `answers` and `requests` what it got."""

    def __init__(self, faults=(), messages=None, on_answer=None, port=0):
        self.faults, self.messages, self.on_answer = list(faults), messages or {}, on_answer
        self.requests, self.delivered, self.answers = [], [], []
        self.connections = 0
        self.knocking = None
        self.lock = threading.Lock()
        self.handlers = []
        self.listener = socket.create_server(("127.0.0.1", port))
        self.port = self.listener.getsockname()[1]
        self.url = self.at("/mms")
        self.acceptor = threading.Thread(target=self.accept, daemon=True)
        self.acceptor.start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.listener.shutdown(socket.SHUT_RDWR)
        self.listener.close()
        self.acceptor.join()

    def at(self, path):
        return f"http://127.0.0.1:{self.port}{path}"

    def accept(self):
        while True:
            try:
                connection, peer = self.listener.accept()
            except OSError:
                return
            if peer == self.knocking:
                connection.close()
                continue
            handler = threading.Thread(target=self.handle, args=[connection], daemon=True)
            with self.lock:
                self.connections += 1
                self.handlers.append(handler)
                handler.start()

    def settle(self):
        """Waits until everything that was posted has been dealt with."""
        # A connection of its own, which is taken after all that wait before it.
        with socket.socket() as knock:
            knock.bind(("127.0.0.1", 0))
            self.knocking = knock.getsockname()
            knock.connect(("127.0.0.1", self.port))
            knock.recv(1)
        while True:
            with self.lock:
                waited_for, self.handlers = self.handlers, []
            if not waited_for:
                return
            for handler in waited_for:
                handler.join()

    def handle(self, connection):
        with self.lock:
            fault = self.faults.pop(0) if self.faults else Fault()
        with connection:
            connection.settimeout(10)
            try:
                self.serve(connection, fault)
            except OSError:
                pass  # the client left

    def serve(self, connection, fault):
        if fault.refuse:
            return
        request = self.read_request(connection, fault.read)
        if request is None:
            return
        with self.lock:
            self.requests.append(request)
            answer = self.take(request)
        if fault.read is not None:
            return
        time.sleep(fault.delay)
        body = answer if fault.body is None else fault.body
        self.answer(connection, fault, body(request) if callable(body) else body)

    def take(self, request):
        """Does what the request asks for; the answer's body, or None for "not found"."""
        if request.method == "GET":
            return self.messages.get(request.path)
        if not request.complete:
            return b""
        kind = request.kind()
        if kind in (SEND_REQ, FORWARD_REQ):
            self.delivered.append(request.body)
            return send_conf(transaction_id(request.body), type=kind + 1)
        if self.on_answer:
            self.on_answer(request.body)
        self.answers.append(request.body)
        return b""

    def read_request(self, connection, at_most):
        data, length, end = b"", 0, -1
        limit = at_most if at_most is not None else 1 << 30
        while end < 0 or len(data) < end + 4 + length:
            block = connection.recv(min(65536, limit - len(data))) if limit > len(data) else b""
            data += block
            if not block:
                break
            if end < 0 and (end := data.find(b"\r\n\r\n")) >= 0:
                length = int(self.headers_of(data[:end])[1].get("content-length", "0"))
        if end < 0:
            return None
        line, headers = self.headers_of(data[:end])
        body = data[end + 4:]
        return Request(line, headers, body, len(body) == length)

    @staticmethod
    def headers_of(head):
        line, *rows = head.decode("latin-1").split("\r\n")
        return line, {name.lower(): value for name, value in (row.split(": ", 1) for row in rows)}

    @staticmethod
    def answer(connection, fault, body):
        status = fault.status
        if body is None:
            status, body = "404 Not Found", b"no such message\n"
        head = [f"{fault.version} {status}", f"Content-Type: {fault.type}", *fault.headers]
        if fault.form == "chunked":
            head.append("Transfer-Encoding: chunked")
            half = len(body) // 2
            body = b"".join(b"%x\r\n%s\r\n" % (len(piece), piece)
                            for piece in (body[:half], body[half:]) if piece) + b"0\r\n\r\n"
        elif fault.form == "length":
            head.append(f"Content-Length: {len(body)}")
        head = fault.first + "\r\n".join(head).encode() + b"\r\n\r\n"
        if fault.trickle:
            connection.sendall(head)
            for i in range(len(body)):
                connection.sendall(body[i:i + 1])
                time.sleep(fault.trickle)
            return
        connection.sendall((head + body)[:fault.cut])
