"""What the service answers and keeps, the control calls, the published files, and the program's arguments."""

import gzip
import hashlib
import json
import os
import signal
import subprocess
import tempfile
import time
import unittest

from wire import CAMPAIGNS, PLACES, PROGRAM, REPORT, SAVE, EmulatorTest, report, request, signed

DEVICE = '{"entity_id":"D1"}'


class Calls(EmulatorTest):
    def test_what_calls_tell_is_kept_by_device(self):
        before = time.time()
        created = self.call(SAVE, '{"entity_id":"D1","app_version":"1"}')["createdAt"]
        self.assertTrue(before <= created <= time.time())
        for path, body in (
                ("/user/activate/json", '{"entity_id":"D1","user_id":"ann"}'),
                ("/user/activate-anonymous/json", '{"entity_id":"D2","user_id":"0000"}'),
                ("/user/activate/json", '{"entity_id":"D3","user_id":"eve"}'),
                ("/user/deactivate/json", '{"entity_id":"D3"}'),
                ("/ios/preferences/save/json", '{"entity_id":"D1","tags":["b","a"]}'),
                ("/ios/push/token/update/json", '{"entity_id":"D1","push_id":"0aff"}'),
                ("/ios/push/enable/json", '{"entity_id":"D1","authorization_status":2,"notification_types":7}'),
                ("/ios/push/disable/json", '{"entity_id":"D2","authorization_status":1,"notification_types":0}'),
                ("/ios/location/register/json", '{"entity_id":"D1"}'),
                ("/ios/location/unregister/json", '{"entity_id":"D2"}'),
                ("/events/report-place/json", '{"place_id":9,"direction":1}')):
            self.assertEqual(self.call(path, body), {}, path)
        usual = {"features": {"push": True, "report_usage": True, "macro_location": True, "inapp": True},
                 "events_options": {"batch_timeout": 10, "batch_size": 10}}
        self.assertEqual(self.call(SAVE, '{"entity_id":"D1","app_version":"2"}'),
                         {"createdAt": created, "configuration": usual})
        state = self.state()
        del state["requests"]
        self.assertEqual(state, {
            "devices": {"D1": {"entity_id": "D1", "app_version": "2", "createdAt": created}},
            "users": {"D1": {"user_id": "ann", "anonymous": False}, "D2": {"user_id": "0000", "anonymous": True}},
            "tags": {"D1": ["b", "a"]}, "locations": {"D1": True, "D2": False},
            "crossings": [{"place_id": 9, "direction": 1}], "inbox": [],
            "push": {"messages": [], "registrations": {
                "D1": {"push_id": "0aff", "enabled": True, "authorization_status": 2, "notification_types": 7},
                "D2": {"enabled": False, "authorization_status": 1, "notification_types": 0}}}})

    def test_bodies_that_are_no_call_are_refused(self):
        def depth(number):
            return '{"d":' + number * "[" + number * "]" + "}"

        for body in ("", "[]", '{"events":', "true", '{"events":{}}', depth(512)):
            answer = self.post(REPORT, body, signed(f"127.0.0.1{REPORT}{body}"))
            self.assertEqual(answer.status, 400, body[:20])
        self.call(SAVE, depth(511))
        self.post("/x", depth(200_000))
        bodies = [request["body"] for request in self.state()["requests"]]
        self.assertEqual(bodies[-3:], [None, json.loads(depth(511)), None])

    def fetch(self, device):
        return self.call("/inbox/fetch/json", json.dumps({"entity_id": device, "user_id": "ann"}))

    def test_fetch_hands_out_what_has_not_expired_with_starred_owners_filled_in(self):
        inbox = [{"owner": {"type": "user", "id": "*"}, "campaign_id": "1"},
                 {"owner": {"type": "device", "id": "*"}, "campaign_id": "2", "expiresAt": 0},
                 {"owner": {"type": "user", "id": "bob"}, "campaign_id": "3", "readAt": 0}, {"campaign_id": "4"}, 5,
                 {"campaign_id": "future", "expiresAt": time.time() + 60}]
        self.control("inbox", inbox + [{"campaign_id": "past", "expiresAt": time.time() - 1}])
        inbox[0]["owner"]["id"], inbox[1]["owner"]["id"] = "ann", "D1"
        answer = self.fetch("D1")
        self.assertEqual(answer["messages"], inbox)
        self.assertAlmostEqual(answer["server_time"], time.time(), delta=2)

    def test_reads_and_deletions_are_answered_item_by_item_and_deletions_leave_their_device(self):
        owners = [{"type": "user", "id": "ann"}, {"type": "device", "id": "D1"}]
        self.control("inbox", [{"owner": owners[0], "campaign_id": "1"}, {"owner": owners[1], "campaign_id": "2"}])
        self.assertEqual(self.call("/inbox/read/json", json.dumps({"read": [
            {"campaign_id": "2", "entity_id": "D1", "user_id": None, "timestamp": 100.5},
            {"campaign_id": "unknown", "entity_id": "D1", "user_id": "ann", "timestamp": 1}, {},
            {"campaign_id": "1", "entity_id": "D9", "user_id": "ann", "timestamp": 200},
            {"campaign_id": "1", "entity_id": "D1", "user_id": "bob", "timestamp": 300}]})),
            {"read": [{"id": "2", "status": True}, {"id": "unknown", "status": False}, {"id": None, "status": False},
                      {"id": "1", "status": True}, {"id": "1", "status": False}]})
        item = {"campaign_id": "1", "entity_id": "D1", "user_id": "ann", "timestamp": 50}
        self.assertEqual(self.call("/inbox/delete/json", json.dumps({"deleted": [item]})),
                         {"deleted": [{"id": "1", "status": True}]})
        self.assertEqual(self.call("/inbox/delete/json", '{"deleted":null}'), {"deleted": []})
        messages = [{"owner": owners[0], "campaign_id": "1", "readAt": 200, "deletedAt": 50},
                    {"owner": owners[1], "campaign_id": "2", "readAt": 100.5}]
        self.assertEqual(self.fetch("D2")["messages"], messages)
        self.assertEqual(self.fetch("D1")["messages"], messages[1:])


class Control(EmulatorTest):
    def test_state_shows_requests_with_verdict_and_expected_text(self):
        self.call(SAVE, DEVICE)
        self.post(SAVE, b"\xff\x01", "Authorization: demo=x\r\nTwice: a\r\nTwice: b\r\n")
        self.get(SAVE)
        self.post("/v1/xios/save/json?x", "{}")
        self.get(CAMPAIGNS)
        self.post(CAMPAIGNS, "[]")
        requests = self.state()["requests"]
        self.assertEqual(requests[1]["headers"], {"Host": "127.0.0.1", "Authorization": "demo=x", "Twice": "a, b",
                                                  "Content-Length": "2"})
        self.assertAlmostEqual(requests[0]["at"], time.time(), delta=5)
        for request_, expected in zip(requests, (
                ("POST", SAVE, {"entity_id": "D1"}, "eyJlbnRpdHlfaWQiOiJEMSJ9", 200, "valid",
                 f"127.0.0.1{SAVE}{DEVICE}"),
                ("POST", SAVE, None, "/wE=", 401, "invalid", f"127.0.0.1{SAVE}\ufffd\x01"),
                ("GET", SAVE, None, "", 405, "absent", f"127.0.0.1{SAVE}"),
                ("POST", "/v1/xios/save/json", {}, "e30=", 404, "absent", None),
                ("GET", CAMPAIGNS, None, "", 404, "absent", None),
                ("POST", CAMPAIGNS, [], "W10=", 405, "absent", None)), strict=True):
            names = ("method", "path", "body", "raw", "status", "signature", "expected")
            self.assertEqual(tuple(request_[name] for name in names), expected)

    def test_what_is_arranged_is_answered_and_reset_forgets_it(self):
        self.control("configuration", {"features": {}})
        self.control("inbox", [{"campaign_id": "1"}])
        self.control("push", {"-": "1"})
        self.control("campaigns", [])
        self.control("faults", [{"path": "user/activate/json", "kind": "reset"}])
        self.assertEqual(self.call(SAVE, DEVICE)["configuration"], {"features": {}})
        self.assertEqual(self.state()["inbox"], [{"campaign_id": "1"}])
        self.assertEqual(self.state()["push"]["messages"], [{"-": "1"}])
        for _ in range(2):
            self.exchange(report())
        self.assertEqual([event["event_id"] for event in json.loads(self.get("/emulator/events").body)], list("baba"))
        self.post("/emulator/reset", "")
        self.assertEqual(self.state(), {
            "requests": [], "devices": {}, "users": {}, "tags": {}, "inbox": [], "locations": {}, "crossings": [],
            "push": {"registrations": {}, "messages": []}})
        self.assertEqual(self.get("/emulator/events").body, b"[]")
        self.assertEqual(self.get(CAMPAIGNS).status, 404)
        self.assertEqual(self.post("/user/activate/json", "{}").status, 401, "the fault is gone too")
        self.assertEqual(len(self.call(SAVE, DEVICE)["configuration"]["features"]), 4)

    def test_wrong_control_calls_say_why_and_change_nothing(self):
        deep = 513 * "[" + 513 * "]"
        for method, call, body, status in (
                ("GET", "nothing", "", 404), ("GET", "reset", "", 405), ("POST", "state", "", 405),
                ("POST", "inbox", "{}", 400), ("POST", "inbox", deep, 400), ("POST", "configuration", "", 400),
                ("POST", "configuration", deep, 400), ("POST", "push", "[]", 400), ("POST", "push", "[1e999]", 400),
                ("POST", "push", deep, 400), ("POST", "faults", deep, 400), ("POST", "places?etag=%0D%0Ax", "[]", 400)):
            answer = self.exchange(request(method, "/emulator/" + call, body.encode()))
            self.assertEqual((answer.status, json.loads(answer.body)["ok"]), (status, False), call)
            self.assertTrue(json.loads(answer.body)["error"])
        self.control("configuration", 600 * "[")  # only a text
        self.assertEqual(self.get(PLACES).status, 404)
        self.assertEqual(len(self.state()["requests"]), 1, "control calls are not written down")

    def test_files_are_published_as_they_are_with_their_headers_under_their_paths_only(self):
        self.post("/emulator/campaigns?etag=%22v%201%22&timestamp=1700000000", b"[ broken \xff")
        file = self.get("/any-bucket/inapp/public/d%65mo/active.json.gz")
        self.assertEqual(gzip.decompress(file.body), b"[ broken \xff")
        self.assertEqual([file.headers[name] for name in ("Content-Encoding", "Etag", "x-goog-meta-timestamp")],
                         ["gzip", '"v 1"', "1700000000"])
        self.post("/emulator/places?etag=&timestamp=", "[]")
        self.assertEqual({"Etag", "x-goog-meta-timestamp"} & self.get(PLACES).headers.keys(), set())
        self.control("places", [])
        headers = self.get(PLACES).headers
        self.assertEqual(headers["Etag"], f'"{hashlib.sha256(b"[]").hexdigest()[:16]}"')
        self.assertAlmostEqual(int(headers["x-goog-meta-timestamp"]), time.time(), delta=5)
        for wrong in ("/b/inapp/public/other/active.json.gz", "/b/inapp/demo/active.json.gz",
                      "/inapp/public/demo/active.json.gz", "/b/c/places/demo/active_places.json.gz",
                      "/b/places/demo/active.json.gz", "//places/demo/active_places.json.gz"):
            self.assertEqual(self.get(wrong).status, 404, wrong)


class Program(EmulatorTest):
    def test_ends_at_once_on_both_signals_though_callers_wait(self):
        self.control("faults", [{"path": "hang", "kind": "hang"}, {"path": "delay", "kind": "delay", "seconds": 600}])
        for number in (signal.SIGTERM, signal.SIGINT):
            waiting = [self.connect() for _ in range(3)]
            for connection, text in zip(waiting, ("GET /hang HTTP/1.1\r\n\r\n", "GET /delay HTTP/1.1\r\n\r\n",
                                                  "POST / HTTP/1.1\r\nContent-Length: 9\r\n\r\nabc")):
                connection.socket.sendall(text.encode())
            while len(self.state()["requests"]) < 2:
                time.sleep(0.01)
            begin = time.monotonic()
            self.process.send_signal(number)
            self.assertEqual(self.process.wait(10), 0)
            self.assertLess(time.monotonic() - begin, 2)
            self.assertEqual(waiting[0].receive().end, "early")
            self.start("--port", str(self.port))
            self.control("faults", [{"path": "*", "kind": "hang"}])

    def test_seed_is_the_beginning_and_the_record_goes_on_behind_what_was_there(self):
        with tempfile.TemporaryDirectory() as folder:
            for name, text in (("campaigns.json", "[1]"), ("inbox.json", '[{"campaign_id":"7"}]'),
                               ("configuration.json", "null"), ("record", "before\n")):
                with open(os.path.join(folder, name), "w", encoding="utf-8") as file:
                    file.write(text)
            self.start("--seed", folder, "--record", os.path.join(folder, "record"))
            self.assertEqual(gzip.decompress(self.get(CAMPAIGNS).body), b"[1]")
            self.assertEqual(self.state()["inbox"], [{"campaign_id": "7"}])
            self.assertNotIn("configuration", self.call(SAVE, DEVICE))
            self.post("/x", b"\xff\n")
            with open(os.path.join(folder, "record"), encoding="utf-8") as file:
                self.assertEqual(file.readline(), "before\n")
                self.assertEqual([json.loads(line) for line in file], self.state()["requests"])
            with open(os.path.join(folder, "inbox.json"), "w", encoding="utf-8") as file:
                file.write("{")
            self.refuses(1, "--account", "k:s", "--seed", folder)

    def test_light_counts_on_but_keeps_no_bodies(self):
        self.start("--light")
        self.exchange(report())
        self.assertEqual(self.get("/emulator/events").body, b"[]")
        self.assertEqual(self.state()["requests"][0]["raw"], "")

    def refuses(self, status, *arguments):
        run = subprocess.run([PROGRAM, *arguments], capture_output=True, text=True, timeout=10)
        self.assertEqual((run.returncode, run.stdout), (status, ""), arguments)
        self.assertTrue(run.stderr.startswith("sorn-emulator: "), run.stderr)
        self.assertEqual("Usage: sorn-emulator" in run.stderr, status == 2)

    def test_refuses_with_two_for_its_use_and_one_for_what_cannot_be_had(self):
        for words in ("", "--account", "--account nocolon", "--account :secret", "--account k=y:secret"):
            self.refuses(2, *words.split())
        for status, words in ((2, "--port 65536"), (2, "--port 12x"), (2, "--seed /none"), (2, "extra"),
                              (1, f"--port {self.port}"), (1, "--record /none/file"), (1, "--host localhost")):
            self.refuses(status, "--account", "k:s", *words.split())


if __name__ == "__main__":
    unittest.main()
