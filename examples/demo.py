#!/usr/bin/env python3
"""Runs the example host against the service emulator and tells what happened.

usage: demo.py FOLDER-WITH-THE-PROGRAMS

Everything stays on this machine. The exit status is 0 only if the service received, with valid signatures,
exactly what the host logged, and holds the users and tags that the host set.
"""

import json
import pathlib
import subprocess
import sys
import tempfile
import threading
import urllib.request

KEY, SECRET = "demo-application", "a secret of the demo"
CONFIGURATION = {"features": {"push": True, "report_usage": True, "macro_location": False, "inapp": True},
                 "events_options": {"batch_timeout": 10, "batch_size": 6}}
PATIENCE = 30.0  # seconds for any single answer


class Failure(Exception):
    pass


class Service:
    """The emulator in a process of its own, driven over its control calls."""

    def __init__(self, programs):
        self.process = subprocess.Popen([programs / "sorn-emulator", "--account", f"{KEY}:{SECRET}", "--port", "0"],
                                        stdout=subprocess.PIPE, text=True)
        self.origin = json.loads(self.process.stdout.readline())["origin"]

    def call(self, path, content=None):
        body = None if content is None else json.dumps(content).encode()
        request = urllib.request.Request(f"{self.origin}/emulator/{path}", data=body,
                                         method="GET" if content is None else "POST")
        with urllib.request.urlopen(request, timeout=PATIENCE) as answer:
            return json.load(answer)

    def events(self):
        events = self.call("events")
        return events if isinstance(events, list) else events["events"]

    def stop(self):
        self.process.terminate()
        self.process.wait(PATIENCE)


class Host:
    """The console host: one command a line, one line of JSON an answer."""

    def __init__(self, programs, configuration, data):
        self.process = subprocess.Popen([programs / "console-host", configuration, "--data", data, "--manual-clock"],
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)

    def run(self, command):
        print(f"  host> {command}")
        self.process.stdin.write(command + "\n")
        self.process.stdin.flush()
        watchdog = threading.Timer(PATIENCE, self.process.kill)
        watchdog.start()
        try:
            answer = self.read_answer()
        finally:
            watchdog.cancel()
        if not answer["ok"]:
            print(f"        refused: {answer['error']}")
        return answer

    def read_answer(self):
        for line in self.process.stdout:
            # The library prints some lines of its own.
            if line.startswith('{"') and "command" in (answer := json.loads(line)):
                return answer
        raise Failure("the host ended unexpectedly")

    def end(self):
        self.process.terminate()
        status = self.process.wait(PATIENCE)
        if status != 0:
            raise Failure(f"the host ended with {status}")


class Demo:
    def __init__(self, programs, folder):
        self.programs, self.folder = programs, folder
        self.service = Service(programs)
        self.logged = []  # (category, action, attributes that the host gave)
        self.shown = 0

    def title(self, text):
        print(f"\n== {text}")

    def start_host(self):
        self.host = Host(self.programs, self.folder / "Demo.plist", self.folder / "data")

    def log(self, category, action, data=None, typed=None):
        command = f"log {json.dumps(category)} {json.dumps(action)}"
        if data is not None:
            command += " " + text(data)
        if not self.host.run(command)["ok"]:
            raise Failure("an event was refused")
        self.logged.append((category, action, typed or {}))

    def screen(self, name, parts):
        if not self.host.run(f"screen {name}")["ok"]:
            raise Failure("a screen event was refused")
        self.logged.append(("NO_CATEGORY", "+SCREEN_OPENED", parts))

    def library_event(self, action):
        self.logged.append(("NO_CATEGORY", action, {}))

    def show_received(self, expected):
        """Prints what has come since the last time, and fails unless `expected` events have come in all."""
        events = self.service.events()
        for event in events[self.shown:]:
            user = f" user {event['user_id']}" if event["user_id"] else ""
            print(f"  service< {event['category']} {event['action']} sequence {event['sequence']}{user} "
                  f"{text(own_attributes(event))}")
        self.shown = len(events)
        if len(events) != expected:
            raise Failure(f"{expected} events should have come by now, and {len(events)} have")

    def expect(self, what, is_so):
        print(f"  {'yes' if is_so else 'NO '}: {what}")
        if not is_so:
            raise Failure(what)

    def run(self):
        self.make_configuration()
        self.first_steps()
        self.users_and_sessions()
        self.outage()
        self.end_and_return()
        self.compare()

    def make_configuration(self):
        self.title("A configuration file for the emulator, its credentials enciphered")
        plist = self.folder / "Demo.plist"
        subprocess.run([self.programs / "sorn-config", "--key", KEY, "--secret", SECRET, "--mode", "development",
                        "--environment", self.service.origin, "--out", plist], check=True, timeout=PATIENCE)
        subprocess.run([self.programs / "sorn-config", "--show", plist], check=True, timeout=PATIENCE)
        self.service.call("configuration", CONFIGURATION)

    def first_steps(self):
        self.title("The host starts; the library introduces the device and takes the account's configuration")
        self.start_host()
        self.host.run("start")
        self.host.run("launched")
        self.library_event("+APP_OPENED")
        self.host.run("advance 0")
        self.expect("the library has started", self.host.run("state")["didStart"])
        self.expect("the service knows the device", len(self.service.call("state")["devices"]) == 1)

        self.title("Six events fill a batch, the session's own among them")
        self.log("shop", "cart opened")
        self.log("shop", "item added", {"price": 9.5, "name": "Tea", "gift": False},
                 {"N_price": 9.5, "S_name": "Tea", "B_gift": False})
        self.log("shop", "coupon used", {"until": {"$date": 1800000000}}, {"D_until": 1800000000})
        self.log("shop", "cart closed")
        self.show_received(0)
        self.log("player", "song started", {"naïve_title": "Ünïcode ☕"}, {"S_naïve_title": "Ünïcode ☕"})
        self.host.run("advance 0")
        self.show_received(6)

        self.title("A screen and an event go out on the timer")
        self.screen("home.news.detail", {"screen_name": "detail", "screen_groups": ["home", "news"], "orientation": 0})
        self.log("player", "song ended")
        self.host.run("advance 9")
        self.show_received(6)
        self.host.run("advance 1")
        self.show_received(8)

    def users_and_sessions(self):
        self.title("A user logs in, tags are set")
        self.host.run("login anna")
        self.library_event("+LOGIN")
        self.host.run('tags ["tea", "music"]')
        self.log("account", "greeted")
        self.host.run("advance 10")
        self.show_received(10)
        self.expect("the service has the tags", ["tea", "music"] in values(self.service.call("state")["tags"]))

        self.title("To the background and back: the session is closed and reported, a second one opens")
        self.host.run("background")
        self.library_event("+APP_CLOSED")
        self.host.run("advance 0")
        self.show_received(11)
        self.host.run("foreground")
        self.library_event("+APP_OPENED")
        self.host.run("logout")
        self.library_event("+LOGIN")
        self.host.run("advance 10")
        self.show_received(13)

    def outage(self):
        self.title("The service is unreachable; the host goes on logging")
        self.service.call("faults", [{"path": "*", "kind": "reset"}])
        for number in range(20):
            self.log("offline", f"event {number}", {"number": number}, {"N_number": number})
        self.host.run("advance 70")
        self.show_received(13)
        waiting = self.host.run("state")["records"]["SNEvent"]
        print(f"        waiting: {waiting['pending']} for the next batch, {waiting['false']} after a failure")
        self.expect("nothing is lost", sum(waiting.values()) == 20)

        self.title("The service returns; maintenance delivers what waited")
        self.service.call("faults", [])
        self.host.run("advance 60")
        self.show_received(33)
        records = self.host.run("state")["records"]
        unsent = {entity: counts for entity, counts in records.items() if counts["false"] or counts["pending"]}
        self.expect("every record is accepted", not unsent)

    def end_and_return(self):
        self.title("The system ends the host; the closing event waits in the store for the next process")
        self.host.end()
        self.library_event("+APP_CLOSED")
        self.show_received(33)
        self.start_host()
        self.host.run("start")
        self.host.run("advance 61")
        self.show_received(34)
        self.host.run("quit")

    def compare(self):
        self.title("What the host logged and what the service received")
        state = self.service.call("state")
        requests = [request for request in state["requests"] if request["path"].startswith("/endpoints")]
        self.expect(f"all {len(requests)} signatures are valid",
                    all(request["signature"] == "valid" for request in requests))
        received = [(event["category"], event["action"], own_attributes(event)) for event in self.service.events()]
        self.expect(f"exactly the {len(self.logged)} events that were logged have come, each once",
                    sorted(map(text, received)) == sorted(map(text, self.logged)))
        identifiers = [event["event_id"] for event in self.service.events()]
        self.expect("no event has come twice", len(set(identifiers)) == len(identifiers))


def text(value):
    return json.dumps(value, sort_keys=True, ensure_ascii=False)


def own_attributes(event):
    """The attributes without those that the library gives every event."""
    added = {"campaign_ids", "sv", "app_version", "os_version", "authorization_status", "location_status", "inapp_status"}
    return {key: value for key, value in event["extra"].items() if key not in added}


def values(tags):
    return [entry if isinstance(entry, list) else entry.get("tags")
            for entry in (tags.values() if isinstance(tags, dict) else tags)]


def main():
    sys.stdout.reconfigure(line_buffering=True)
    programs = pathlib.Path(sys.argv[1]).resolve()
    with tempfile.TemporaryDirectory() as folder:
        demo = Demo(programs, pathlib.Path(folder))
        try:
            demo.run()
        except Failure as failure:
            print(f"\nFAILED: {failure}")
            return 1
        finally:
            demo.service.stop()
            if hasattr(demo, "host") and demo.host.process.poll() is None:
                demo.host.process.kill()
    print("\nThe service received exactly what the host logged.")
    return 0


sys.exit(main())
