"""The emulator as a process of its own, and a plain socket that speaks HTTP by hand, so that a test sees how a
connection really ended. The signatures come from Python's own hmac."""

import base64
import collections
import hmac
import json
import socket
import subprocess
import sys
import unittest

PROGRAM = sys.argv.pop(1)
SECRET = "top:secret"
SAVE = "/v1/ios/save/json"
REPORT = "/v1/events/report/json"
TWO_EVENTS = '{"events":[{"event_id":"b"},{"event_id":"a","x":"\u20ac"}]}'.encode()
CAMPAIGNS = "/127.files/inapp/public/demo/active.json.gz"
PLACES = "/127.files/places/demo/active_places.json.gz"

# `end` is "complete", "early", "reset", or "silent" when nothing more came within the patience; `status` is 0 when
# what came is no HTTP answer.
Answer = collections.namedtuple("Answer", "status headers body end")


def signed(text, secret=SECRET, key="demo"):
    """The header line for a text, given as bytes or str."""
    text = text.encode() if isinstance(text, str) else text
    code = hmac.new(secret.encode(), text, "sha256").digest()
    return f"Authorization: {key}={base64.b64encode(code).decode()}\r\n"


def request(method, path, body=b"", headers="", host="127.0.0.1"):
    head = f"{method} {path} HTTP/1.1\r\nHost: {host}\r\n{headers}Content-Length: {len(body)}\r\n\r\n"
    return head.encode() + body


def report():
    """A call that the service takes."""
    return request("POST", REPORT, TWO_EVENTS, signed(f"127.0.0.1{REPORT}".encode() + TWO_EVENTS))


class Connection:
    def __init__(self, port, patience=10):
        self.socket = socket.create_connection(("127.0.0.1", port), patience)
        self.rest = b""

    def exchange(self, bytes_):
        self.socket.sendall(bytes_)
        return self.receive()

    def receive(self):
        end = "complete"
        while b"\r\n\r\n" not in self.rest:
            if (end := self.read()) != "complete":
                return Answer(0, {}, b"", end)
        head, self.rest = self.rest.split(b"\r\n\r\n", 1)
        first, *lines = head.decode("latin-1").split("\r\n")
        headers = dict(line.split(": ", 1) for line in lines)
        length = int(headers.get("Content-Length", 0))
        while len(self.rest) < length and end == "complete":
            end = self.read()
        body, self.rest = self.rest[:length], self.rest[length:]
        return Answer(int(first[9:12]) if first.startswith("HTTP/1.1 ") else 0, headers, body, end)

    def read(self):
        try:
            piece = self.socket.recv(65536)
        except ConnectionResetError:
            return "reset"
        except TimeoutError:
            return "silent"
        self.rest += piece
        return "complete" if piece else "early"


class EmulatorTest(unittest.TestCase):
    """A service with two accounts, which ends cleanly after each test: so the sanitizers are heard as well."""

    arguments = ["--account", f"demo:{SECRET}", "--account", "open:"]

    def setUp(self):
        self.start()

    def start(self, *more):
        self.process = subprocess.Popen([PROGRAM, *self.arguments, *more], stdout=subprocess.PIPE, text=True)
        self.port = int(json.loads(self.process.stdout.readline())["origin"].rpartition(":")[2])
        self.addCleanup(self.stop, self.process)

    def stop(self, process):
        process.terminate()
        process.stdout.close()
        self.assertEqual(process.wait(10), 0)

    def connect(self, patience=10):
        connection = Connection(self.port, patience)
        self.addCleanup(connection.socket.close)
        return connection

    def exchange(self, bytes_, patience=10):
        return self.connect(patience).exchange(bytes_)

    def get(self, path):
        return self.exchange(request("GET", path))

    def post(self, path, text, headers=""):
        return self.exchange(request("POST", path, text.encode("latin-1") if isinstance(text, str) else text, headers))

    def call(self, path, text):
        """A signed call; its answer as JSON."""
        answer = self.post(path, text, signed(f"127.0.0.1{path}{text}"))
        self.assertEqual(answer.status, 200, path)
        return json.loads(answer.body)

    def control(self, name, value):
        self.assertEqual(self.post(f"/emulator/{name}", json.dumps(value)).body, b'{"ok":true}')

    def state(self):
        return json.loads(self.get("/emulator/state").body)
