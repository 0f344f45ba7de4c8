#!/usr/bin/env python3
"""Runs the example host against the service emulator and tells what happened.

usage: demo.py FOLDER-WITH-THE-PROGRAMS

Everything stays on this machine. The exit status is 0 only if the service received, with valid signatures,
exactly what the host logged, holds the users and tags that the host set, and each event presented the campaign
that it should.
"""

import json
import pathlib
import subprocess
import sys
import tempfile
import threading
import time
import urllib.request

KEY, SECRET = "demo-application", "a secret of the demo"
CONFIGURATION = {"features": {"push": True, "report_usage": True, "macro_location": False, "inapp": True},
                 "events_options": {"batch_timeout": 10, "batch_size": 6}}
PATIENCE = 30.0  # seconds for any single answer
CAMPAIGNS = pathlib.Path(__file__).parent / "campaigns" / "demo.json"


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

    def __init__(self, programs, configuration, data, storage):
        self.process = subprocess.Popen([programs / "console-host", configuration, "--data", data,
                                         "--storage", storage, "--manual-clock"],
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.notices = []

    def run(self, command):
        print(f"  host> {command}")
        return self.send(command)

    def send(self, command):
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
            if not line.startswith('{"'):
                continue
            answer = json.loads(line)
            if "command" in answer:
                return answer
            if "notice" in answer:
                self.notices.append(answer)
        raise Failure("the host ended unexpectedly")

    def presented(self):
        """The campaigns that have been presented since the last call, once all that was begun has ended."""
        self.send("advance 0")
        campaigns = [notice["campaign"] for notice in self.notices if notice["notice"] == "presented"]
        self.notices.clear()
        return campaigns

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
        self.elapsed = 0  # seconds by which the hosts' clock is ahead of this machine's
        self.presentations = {"campaigns": {}}  # when each campaign was last presented, and how often

    def title(self, text):
        print(f"\n== {text}")

    def start_host(self):
        """A new process; its clock goes on where the one before it stood."""
        self.host = Host(self.programs, self.folder / "Demo.plist", self.folder / "data", self.service.origin)
        if self.elapsed > 0:
            self.host.run(f"clock {self.elapsed}")
        self.moment = time.time() + self.elapsed

    def advance(self, seconds):
        self.host.run(f"advance {seconds}")
        self.elapsed += seconds
        self.moment += seconds

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

    def ready_made(self, command, category, action, attributes):
        if not self.host.run(command)["ok"]:
            raise Failure("a ready-made event was refused")
        self.logged.append((category, action, attributes))

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
        self.campaigns()
        self.campaigns_without_the_storage()
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
        self.advance(9)
        self.show_received(6)
        self.advance(1)
        self.show_received(8)

        self.title("Ready-made events of a shop: their keys are fixed, the host's own may not touch them")
        item = {"id": "tea-7", "type": "tea", "name": "Assam", "price": "9.90", "currencyCode": "EUR"}
        fixed = {"S_item_id": "tea-7", "S_item_type": "tea", "S_item_name": "Assam", "N_item_price": 9.9,
                 "S_currency": "EUR"}
        self.ready_made("retail addToCart " + text({"item": item, "quantity": 2}), "+RETAIL", "+ADD_TO_CART",
                        {**fixed, "N_quantity": 2})
        self.ready_made("retail purchase " + text({"item": item, "quantity": 2, "success": True}), "+RETAIL", "+PURCHASE",
                        {**fixed, "N_quantity": 2, "B_success": True})
        self.ready_made('search "green tea"', "+GENERIC", "+SEARCH", {"S_query": "green tea"})
        self.expect("a key of the fixed data is refused",
                    not self.host.run("retail view " + text({"item": {**item, "data": {"item_id": "8"}}}))["ok"])
        self.advance(10)
        self.show_received(11)

    def users_and_sessions(self):
        self.title("A user logs in, tags are set")
        self.host.run("login anna")
        self.library_event("+LOGIN")
        self.host.run('tags ["tea", "music"]')
        self.log("account", "greeted")
        self.advance(10)
        self.show_received(13)
        self.expect("the service has the tags", ["tea", "music"] in values(self.service.call("state")["tags"]))

        self.title("To the background and back: the session is closed and reported, a second one opens")
        self.host.run("background")
        self.library_event("+APP_CLOSED")
        self.host.run("advance 0")
        self.show_received(14)
        self.host.run("foreground")
        self.library_event("+APP_OPENED")
        self.host.run("logout")
        self.library_event("+LOGIN")
        self.advance(10)
        self.show_received(16)

    def campaigns(self):
        self.title("Campaigns are published; the next start of the host fetches them")
        published = json.loads(CAMPAIGNS.read_text())
        for campaign in published:
            campaign["paused"] = campaign["id"] == "closed-sale"
        self.campaigns_file = self.folder / "campaigns.json"
        self.campaigns_file.write_text(json.dumps(published))
        subprocess.run([self.programs / "sorn-campaign", "validate", self.campaigns_file.name], check=True,
                       timeout=PATIENCE, cwd=self.folder)
        self.service.call("campaigns", published)
        self.restart_host()
        self.expect("the host has fetched them", self.storage_statuses()[-1:] == [200])

        self.title("Each event presents at most one campaign")
        self.launch("welcome")
        self.happens("cart filled", "free-delivery")
        self.happens("cart emptied", None)
        self.visits("offers", None)
        self.advance(60)
        self.visits("offers", "offers")
        self.triggers({"tier": "silver"}, None)
        self.triggers({"tier": "gold", "country": "none"}, None)
        self.triggers({"tier": "gold"}, "gold-customers")
        self.log("shop", "order sent")
        self.advance(61)
        self.show_received(len(self.logged))
        named = self.service.events()[-1]["extra"]["campaign_ids"]
        self.expect(f"the last event names what was presented before it: {', '.join(named)}",
                    sorted(named) == ["free-delivery", "gold-customers", "offers", "welcome"])

    def campaigns_without_the_storage(self):
        self.title("The storage fails; a new process goes by the campaigns that the last one kept")
        self.service.call("faults", [{"path": "storage", "kind": "status", "status": 503}])
        self.restart_host()
        self.expect("the storage refused", self.storage_statuses()[-1:] == [503])
        self.launch(None)
        self.happens("cart filled", "free-delivery")
        self.service.call("faults", [])
        self.advance(61)
        self.show_received(len(self.logged))

    def restart_host(self):
        self.host.end()
        self.library_event("+APP_CLOSED")
        self.start_host()
        self.host.run("start")
        self.host.run("advance 0")

    def storage_statuses(self):
        return [request["status"] for request in self.service.call("state")["requests"]
                if request["path"].endswith("/active.json.gz")]

    # What may present a campaign, with the one that it must present.

    def launch(self, campaign):
        self.host.run("launched")
        self.library_event("+APP_OPENED")
        self.decided(campaign, "--event", "+APP_OPENED")

    def happens(self, action, campaign):
        self.log("shop", action)
        self.decided(campaign, "--event", action)

    def visits(self, screen, campaign):
        self.screen(screen, {"screen_name": screen, "screen_groups": [screen], "orientation": 0})
        self.decided(campaign, "--event", "+SCREEN_OPENED", "--info", text({"screen_name": screen}))

    def triggers(self, user_info, campaign):
        self.host.run("trigger " + text(user_info))
        self.decided(campaign, "--trigger", text(user_info))

    def decided(self, expected, *occasion):
        """Prints what the host presented, or why it did not, and fails unless host and tool did as expected."""
        explanation = self.explain(occasion)
        presented = self.host.presented()
        for campaign in presented:
            print(f"  host< presented {campaign}")
            counters = self.presentations["campaigns"].setdefault(campaign, {"count": 0})
            self.presentations["last"] = counters["last"] = self.moment
            counters["count"] += 1
        if not presented:
            reasons = [f"{name}: {outcome}" for name, outcome in explanation.items() if outcome != "trigger"]
            print("        none presented; " + (", ".join(reasons) or "no campaign has this trigger"))
        chosen = [name for name, outcome in explanation.items() if outcome == "chosen"]
        if presented != chosen or presented != ([expected] if expected else []):
            raise Failure(f"presented: {presented}, explained: {explanation}, expected: {expected}")

    def explain(self, occasion):
        command = [self.programs / "sorn-campaign", "explain", self.campaigns_file, *occasion,
                   "--now", repr(self.moment), "--state", text(self.presentations)]
        run = subprocess.run(command, check=True, capture_output=True, text=True, timeout=PATIENCE)
        lines = [json.loads(line) for line in run.stdout.splitlines()]
        return {line["id"]: line["outcome"] for line in lines}

    def outage(self):
        before = self.shown
        self.title("The service is unreachable; the host goes on logging")
        self.service.call("faults", [{"path": "*", "kind": "reset"}])
        for number in range(20):
            self.log("offline", f"event {number}", {"number": number}, {"N_number": number})
        self.advance(70)
        self.show_received(before)
        waiting = self.host.run("state")["records"]["SNEvent"]
        print(f"        waiting: {waiting['pending']} for the next batch, {waiting['false']} after a failure")
        self.expect("nothing is lost", sum(waiting.values()) == 20)

        self.title("The service returns; maintenance delivers what waited")
        self.service.call("faults", [])
        self.advance(60)
        self.show_received(before + 20)
        records = self.host.run("state")["records"]
        unsent = {entity: counts for entity, counts in records.items() if counts["false"] or counts["pending"]}
        self.expect("every record is accepted", not unsent)

    def end_and_return(self):
        self.title("The system ends the host; the closing event waits in the store for the next process")
        before = self.shown
        self.host.end()
        self.library_event("+APP_CLOSED")
        self.show_received(before)
        self.start_host()
        self.host.run("start")
        self.advance(61)
        self.show_received(before + 1)
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
