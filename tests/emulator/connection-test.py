"""HTTP on the wire, the verification of signatures, and the faults byte by byte."""

import gzip
import threading
import time
import unittest

from wire import CAMPAIGNS, SAVE, TWO_EVENTS, EmulatorTest, report, request, signed


class Http(EmulatorTest):
    def test_one_connection_carries_requests_sent_at_once_until_the_caller_closes_it(self):
        connection = self.connect()
        last = report().replace(b"Content-Length", b"connection: TE, Close\r\nContent-Length")
        self.assertEqual(connection.exchange(report() + last).status, 200)
        self.assertEqual(connection.receive().status, 200)
        self.assertEqual(connection.receive().end, "early")

    def test_chunks_of_a_caller_that_asks_first_are_joined_before_the_signature_is_checked(self):
        connection = self.connect()
        head = report().partition(b"Content-Length")[0]
        answer = connection.exchange(head + b"Expect: 100-continue\r\nTransfer-Encoding: chunked\r\n\r\n")
        self.assertEqual(answer.status, 100)
        rest = TWO_EVENTS[10:]
        for byte in b"A;x=1\r\n%s\r\n%x\r\n%s\r\n0\r\nTrailer: x\r\n\r\n" % (TWO_EVENTS[:10], len(rest), rest):
            connection.socket.send(bytes([byte]))
        self.assertEqual(connection.receive().status, 200)
        self.assertEqual(self.get("/emulator/events").body, TWO_EVENTS[10:-1])

    def test_what_is_no_http_is_refused_and_ends_the_connection(self):
        chunked = "POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n"
        length = "POST / HTTP/1.1\r\nContent-Length: "
        for text, status in (
                ("HELLO\r\n", 400), ("GET x HTTP/1.1\r\n", 400), ("GET / SPDY/3\r\n", 400),
                ("GET / HTTP/1.1\r\nno colon\r\n", 400), ("GET / HTTP/1.1\r\n" + 65_537 * "x", 413),
                (length + "-1\r\n\r\n", 400), (length + "1\r\ncontent-length: 2\r\n\r\nab", 400),
                (length + "268435457\r\n\r\n", 413), (chunked + "xyz\r\n", 400), (chunked + "2\r\nabc\r\n", 400),
                (chunked + "1\r\na\r\nffffffffffffffff\r\n", 413)):
            connection = self.connect()
            self.assertEqual(connection.exchange(text.encode()).status, status, text[:50])
            self.assertEqual(connection.receive().end, "early", text[:50])
        self.assertEqual(self.state()["requests"], [])
        self.assertEqual(self.exchange(f"{length}268435456\r\nExpect: 100-continue\r\n\r\n".encode()).status, 100)

    def test_many_callers_at_once_lose_nothing_while_others_look_and_arrange(self):
        def report_often():
            connection = self.connect()
            for _ in range(25):
                connection.exchange(report())

        threads = [threading.Thread(target=report_often) for _ in range(8)]
        for thread in threads:
            thread.start()
        for _ in range(25):
            self.control("inbox", [])
            self.control("places", [])
            self.control("faults", [{"path": "nowhere", "kind": "reset"}])
            self.state()
        for thread in threads:
            thread.join()
        self.assertEqual(self.get("/emulator/events").body.count(b'"a"'), 200)
        self.assertEqual(len(self.state()["requests"]), 200)


class Signatures(EmulatorTest):
    def verdict(self, path, body, headers, host="127.0.0.1"):
        self.exchange(request("POST", path, body, headers, host))
        return self.state()["requests"][-1]["signature"]

    def test_host_with_a_port_below_9999_path_and_body_are_signed(self):
        path = "/user/activate/json"
        # printf '127.0.0.1/user/activate/json{}' | openssl dgst -sha256 -hmac top:secret -binary | base64
        known = "Authorization: demo=nRUPdXh2LArBXPhA51pQI8JDfn9mIMOtN3qP9SI6mAU=\r\n"
        self.assertEqual(self.verdict(path, b"{}", known), "valid")
        for host, path, text in (
                ("127.0.0.1:8080", path, "127.0.0.1:8080" + path), ("127.0.0.1:9998", path, "127.0.0.1:9998" + path),
                ("127.0.0.1:9999", path, "127.0.0.1" + path), ("[::1]:12345", path, "::1" + path),
                ("h:80", "/", "h:80/"), ("h", "/a//b/", "h/a//b"), ("h", "/100%/x%2", "h/100%/x%2"),
                ("h", "/%C3%A9" + path, "h/\u00e9" + path),
                # The edges of UTF-8: what Python decodes, and what it refuses, which is signed as it was sent.
                ("h", "/%DF%BF%E0%A0%80%ED%9F%BF%EF%BF%BF%F0%90%80%80%F4%8F%BF%BF",
                 "h/\u07ff\u0800\ud7ff\uffff\U00010000\U0010ffff"),
                *(("h", wrong, "h" + wrong) for wrong in
                  ("/%FF%41", "/%C1%BF", "/%E0%9F%BF", "/%ED%A0%80", "/%F0%8F%BF%BF", "/%F4%90%80%80", "/%F5%80%80%80",
                   "/%C3", "/%E2%82", "/%80", "/%C3%28", "/%E2%82%28"))):
            with self.subTest(host=host, path=path):
                body = '{"user_id":"Zo\u00eb \u2013 \u6771\u4eac"}'.encode()
                text = text.encode() + body
                self.assertEqual(self.verdict(path, body, signed(text), host), "valid")
                self.assertEqual(self.verdict(path, body, signed(text, secret="", key="open"), host), "valid")
                self.assertEqual(self.verdict(path, body, signed(text, key="open"), host), "invalid")
                self.assertEqual(self.verdict(path, body + b"!", signed(text), host), "invalid")

    def test_one_wrong_byte_anywhere_is_refused(self):
        right = signed(f"127.0.0.1{SAVE}{{}}")[len("Authorization: "):-2]
        for header in (right[:-1], "Bearer " + right, right.replace("demo=", "demo:"), "", "demo=", "D" + right[1:],
                       right + "="):
            answer = self.post(SAVE, "{}", f"Authorization: {header}\r\n")
            self.assertEqual((answer.status, self.state()["requests"][-1]["signature"]), (401, "invalid"), header)
        self.assertEqual(self.post(SAVE, "{}").status, 401)


class Faults(EmulatorTest):
    def test_each_kind_as_the_caller_of_a_report_sees_it(self):
        garbage = b"<html>\x01\x02 this is neither JSON nor gzip {]"
        for fault, status, body, end, taken, least in (
                ({"kind": "status", "status": 200, "body": "true", "kept": True}, 200, b"true", "complete", 2, 0),
                ({"kind": "status", "status": 204}, 204, b"", "complete", 0, 0),
                ({"kind": "status", "headers": {"A": "b"}}, 500, b'{"error":"ordered by a fault"}', "complete", 0, 0),
                ({"kind": "delay", "seconds": 0.2}, 200, b"{}", "complete", 2, 0.2),
                ({"kind": "slow", "seconds": 0.2}, 200, b"{}", "complete", 2, 0.19),
                ({"kind": "hang"}, 0, b"", "silent", 0, 0.4),
                ({"kind": "hang", "seconds": 0.1}, 0, b"", "early", 0, 0.1),
                ({"kind": "cut"}, 200, b"{", "early", 2, 0),
                ({"kind": "reset"}, 0, b"", "reset", 0, 0),
                ({"kind": "garbage"}, 200, garbage, "complete", 2, 0),
                ({"kind": "garbage", "raw": True}, 0, b"", "complete", 2, 0)):
            with self.subTest(fault):
                self.post("/emulator/reset", "")
                self.control("faults", [{"path": "*", "times": 1, **fault}])
                begin = time.monotonic()
                answer = self.exchange(report(), patience=0.4)
                self.assertGreaterEqual(time.monotonic() - begin, least)
                self.assertEqual((answer.status, answer.body, answer.end), (status, body, end))
                self.assertEqual("Content-Length" in answer.headers, status not in (0, 204))
                self.assertEqual(answer.headers.get("A"), fault.get("headers", {}).get("A"))
                state = self.state()["requests"][0]
                self.assertEqual((state["status"], state["fault"]), (status, fault["kind"]))
                self.assertEqual(self.get("/emulator/events").body.count(b"event_id"), taken)
                self.assertEqual(self.exchange(report()).status, 200, "others")

    def test_packed_files_are_cut_within_and_without_the_framing(self):
        self.control("campaigns", [{"id": "1", "name": "a campaign that is long enough to be cut"}])
        whole = self.get(CAMPAIGNS).body
        for framed, end in ((None, "complete"), (False, "early"), (True, "complete")):
            self.control("faults", [{"path": "storage", "kind": "cut", "framed": framed}])
            answer = self.get(CAMPAIGNS)
            self.assertEqual((answer.body, answer.end), (whole[:len(whole) // 2], end), framed)
        self.control("faults", [{"path": "storage", "kind": "garbage"}])
        with self.assertRaises(gzip.BadGzipFile):
            gzip.decompress(self.get(CAMPAIGNS).body)
        self.assertEqual(self.get(CAMPAIGNS).headers["Content-Encoding"], "gzip")

    def test_first_fitting_fault_wins_as_many_times_as_ordered_and_control_calls_are_spared(self):
        self.control("faults", [{"path": "storage", "kind": "status", "status": 500},
                                {"path": "events/report/json", "kind": "status", "status": 501, "times": 2},
                                {"path": "*", "kind": "reset"}])
        self.assertEqual(self.exchange(report()).status, 501)
        self.assertEqual(self.get(CAMPAIGNS).status, 500)
        self.assertEqual(self.exchange(report()).status, 501)
        self.assertEqual(self.exchange(report()).end, "reset")
        self.control("faults", [])
        self.assertEqual(self.exchange(report()).status, 200)

    def test_wrong_plans_are_refused_and_the_old_one_stays(self):
        self.control("faults", [{"path": "*", "kind": "status", "status": 501}])
        delay = '"path":"*","kind":"delay"'
        status = '"path":"*","kind":"status"'
        for plan in ("{}", "[", "\xff", "[1]", '[{"path":"*"}]', '[{"kind":"reset"}]', '[{"path":"*","kind":"x"}]',
                     '[{"path":7,"kind":"delay"}]', '[{"path":null,"kind":"reset"}]',
                     *("[{%s}]" % fault for fault in (
                         delay + ',"seconds":-1', delay + ',"times":1.5', delay + ',"time":1',
                         status + ',"status":"500"', status + ',"status":199', status + ',"headers":["a"]',
                         status + ',"headers":{"A":1}', status + r',"headers":{"A":"b\r\nC: d"}'))):
            self.assertEqual(self.post("/emulator/faults", plan).status, 400, plan)
        self.assertEqual(self.exchange(report()).status, 501)


if __name__ == "__main__":
    unittest.main()
