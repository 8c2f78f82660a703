#!/usr/bin/env python3
"""Pivra as the default browser of a private Linux desktop, with real browsers.

Links go through xdg-open, reach Pivra through its desktop entry, and are
routed by a rules file to two Chromium profiles and two Firefox ESR profiles.
Each profile was given a cookie naming it on its first visit to the test's
web server, so the Cookie header of the request a link makes tells which
profile opened it. For every link the journal and the counts must agree.

Usage: real_browsers_test.py [--pivra PROGRAM] [--keep] [unittest options]
    PROGRAM defaults to build/dev/cli/pivra; --keep leaves the temporary
    folder (its path is printed) for a look at the browsers' and Pivra's files.
"""

from __future__ import annotations

import argparse
import os
import shutil
import sys
import unittest
import urllib.parse
from pathlib import Path

sys.dont_write_bytecode = True  # nothing written into the source tree
sys.path.insert(0, str(Path(__file__).resolve().parent))

from private_desktop import (  # noqa: E402
    CHROMIUM_ID, FIREFOX_ID, HOSTS, SOURCE_APP_ID, BROWSER_START_GIVE_UP, Desktop, Failure, RecordingServer,
    become_subreaper, check_programs, poll, report_stream, run_inside_session, temporary_root, wait_all,
)

REPOSITORY = Path(__file__).resolve().parents[2]
# The whole run, browsers' start included; far more than it takes.
RUN_GIVE_UP = 600.0

# The profiles, each with the cookie value it was given.
CHROMIUM_PROFILES = {"Profile 1": "cr-work", "Profile 2": "cr-home"}
FIREFOX_PROFILES = {"personal": "ff-personal", "shop": "ff-shop"}
FIREFOX_DEFAULT = "personal"          # the profile marked default, and the fallback's
GONE_PROFILE = "Profile 3"            # a Chromium profile removed before its rule's link

# The rules, in order; (id, from, match, target).
RULES = [
    ("SOURCE", SOURCE_APP_ID, {"kind": "any"}, {"app": CHROMIUM_ID, "profile": "Profile 2"}),
    ("WORK", "*", {"kind": "domains", "values": ["work.localhost"]}, {"app": CHROMIUM_ID, "profile": "Profile 1"}),
    ("HOME", "*", {"kind": "domains", "values": ["home.localhost"]}, {"app": CHROMIUM_ID, "profile": "Profile 2"}),
    # The server's port is filled in when the file is written: a "*" there
    # would cross into the path too.
    ("SHOP", "*", {"kind": "patterns", "values": ["docs.localhost:{port}/shop/"]},
     {"app": FIREFOX_ID, "profile": "shop"}),
    ("PERSONAL", "*", {"kind": "patterns", "values": ["*/personal/*"]},
     {"app": FIREFOX_ID, "profile": "personal"}),
    ("GONE", "*", {"kind": "domains", "values": ["gone.localhost"]}, {"app": CHROMIUM_ID, "profile": GONE_PROFILE}),
    ("MISSING", "*", {"kind": "domains", "values": ["missing.localhost"]}, {"app": "vivaldi-stable"}),
    ("PLAIN", "*", {"kind": "domains", "values": ["plain.localhost"]}, {"app": FIREFOX_ID}),
]
RULE_NUMBER = {rule_id: index + 1 for index, (rule_id, *_rest) in enumerate(RULES)}


def rules_file(port: int) -> dict:
    def filled(match: dict) -> dict:
        if match["kind"] != "patterns":
            return match
        return match | {"values": [value.replace("{port}", str(port)) for value in match["values"]]}

    return {
        "version": 1,
        "cleanLinks": True,
        # With a profile: a running Firefox that is told no profile opens the
        # link in whichever of its instances it picks.
        "fallback": {"app": FIREFOX_ID, "profile": FIREFOX_DEFAULT},
        "rules": [{"id": rule_id, "from": source, "match": filled(match), "open": target}
                  for rule_id, source, match, target in RULES],
    }


desktop: Desktop
server: RecordingServer
_serial = 0


def token(label: str) -> str:
    """A path piece no other link of the run has."""
    global _serial
    _serial += 1
    return f"t{_serial}-{label}"


def setUpModule():
    global desktop, server
    root = Path(os.environ["PIVRA_E2E_ROOT"])
    desktop = Desktop(root, Path(os.environ["PIVRA_E2E_PROGRAM"]))
    server = RecordingServer()
    desktop.create(list(CHROMIUM_PROFILES) + [GONE_PROFILE], list(FIREFOX_PROFILES), FIREFOX_DEFAULT)
    desktop.share_display_with_the_bus()
    desktop.write_rules(rules_file(server.port))
    desktop.write_settings({"profileFailure": "fallback", "notifications": "off"})
    desktop.install_pivra()
    # Each profile's first visit: its cookie on every test host. Chromium's
    # first start makes the instance the second profile's start hands over to.
    for profile, name in CHROMIUM_PROFILES.items():
        desktop.spawn(str(desktop.bin / "chromium"), f"--profile-directory={profile}", "--", hello(name))
        wait_for_hello(name)
    for profile, name in FIREFOX_PROFILES.items():
        desktop.spawn(str(desktop.bin / "firefox-esr"), "-P", profile, "--new-tab", hello(name))
        wait_for_hello(name)


def tearDownModule():
    server.close()


def hello(name: str) -> str:
    return server.url(HOSTS[0], "/hello?" + urllib.parse.urlencode({"profile": name, "next": ",".join(HOSTS[1:])}))


def wait_for_hello(name: str):
    last = HOSTS[-1]
    poll(f"the first visit of {name}",
         lambda: server.find(lambda r: r.host == last and r.path.startswith("/hello") and f"profile={name}" in r.path),
         BROWSER_START_GIVE_UP, 0.05)


class Link:
    """One link put through xdg-open, what it should reach, and what Pivra should record.

    `cookie` is the profile the link must reach, or a set of them where the
    browser itself chooses; `reason` is the id of the rule that takes it, or
    "fallback"; `query` is added to the destination, `wrap` makes the link
    that is opened from the destination, and `expect_query` is the query that
    must reach the server (the same as `query` unless given)."""

    def __init__(self, host: str, path: str, cookie: str | set[str], reason: str, target: tuple[str, str | None],
                 query: str = "", source: str = "unknown app", wrap=None, expect_query: str | None = None):
        self.path = path
        self.host = host
        self.destination = server.url(host, path + (("?" + query) if query else ""))
        self.opened = wrap(self.destination) if wrap else self.destination
        self.cookies = cookie if isinstance(cookie, set) else {cookie}
        self.reason = reason
        app, profile = target
        self.journal_text = (f"Link from {source} → "
                             + ("fallback" if reason == "fallback" else f"rule {RULE_NUMBER[reason]}")
                             + f" → {app}" + (f" · {profile}" if profile else ""))
        self.expect_query = query if expect_query is None else expect_query


# Where the rules send links: (app, profile).
CR_WORK = (CHROMIUM_ID, "Profile 1")
CR_HOME = (CHROMIUM_ID, "Profile 2")
FF_SHOP = (FIREFOX_ID, "shop")
FF_PERSONAL = (FIREFOX_ID, "personal")
FALLBACK = (FIREFOX_ID, FIREFOX_DEFAULT)


def google(destination: str) -> str:
    return "https://www.google.com/url?" + urllib.parse.urlencode({"q": destination, "sa": "D"})


def slack(destination: str) -> str:
    return "https://slack-redir.net/link?" + urllib.parse.urlencode({"url": destination})


class RealBrowsers(unittest.TestCase):
    def open_and_check(self, links: list[Link], from_app: bool = False, together: bool = False):
        """Opens the links (one after the other, or all at once) and checks
        where each went, its journal line, and the counts."""
        counts_before = desktop.counts()
        opener = desktop.open_from_app if from_app else desktop.xdg_open
        if together:
            wait_all([opener(link.opened) for link in links])
        else:
            for link in links:
                wait_all([opener(link.opened)])
        arrived = server.wait_for_paths([link.path for link in links])
        for link in links:
            with self.subTest(link=link.opened):
                request = arrived[link.path]
                self.assertIsNotNone(request, "the link never reached the server")
                self.assertEqual(request.host, link.host)
                query = urllib.parse.urlsplit(request.path).query
                self.assertEqual(query, link.expect_query, "the query that reached the server")
                self.assertIn(request.cookies().get("profile"), link.cookies, "the profile that opened it")
                self.assertEqual(len(server.find(lambda r: r.path.startswith(link.path))), 1, "opened once")
                entries = [e for e in desktop.journal() if e.get("path") == link.path]
                self.assertEqual([(e["text"], e.get("host")) for e in entries if e["text"].startswith("Link from")],
                                 [(link.journal_text, link.host)])
        expected = dict(counts_before)
        for link in links:
            expected[link.reason] = expected.get(link.reason, 0) + 1
        try:
            poll("the counts", lambda: desktop.counts() == expected, 15.0, 0.05)
        except Failure:
            self.assertEqual(desktop.counts(), expected)

    def test_domains_and_patterns_pick_the_profile(self):
        self.open_and_check([
            Link("work.localhost", f"/{token('work')}", "cr-work", "WORK", CR_WORK, query="a=1&b=%2F+"),
            Link("home.localhost", f"/{token('home')}", "cr-home", "HOME", CR_HOME),
            Link("docs.localhost", f"/shop/{token('shop')}", "ff-shop", "SHOP", FF_SHOP),
            Link("docs.localhost", f"/personal/{token('personal')}", "ff-personal", "PERSONAL", FF_PERSONAL),
            # The shop pattern wants /shop/ right after the port.
            Link("docs.localhost", f"/elsewhere/shop/{token('other')}", "ff-personal", "fallback", FALLBACK),
            Link("other.localhost", f"/{token('fallback')}", "ff-personal", "fallback", FALLBACK),
            # No profile named: the browser's desktop entry opens it, in a profile Firefox picks.
            Link("plain.localhost", f"/{token('plain')}", {"ff-personal", "ff-shop"}, "PLAIN", (FIREFOX_ID, None)),
        ])

    def test_a_link_from_an_app_follows_the_apps_rule(self):
        # The host that the domain rule sends to Profile 1 goes to Profile 2
        # when the chat app opens it: the app's rule comes first.
        self.open_and_check([Link("work.localhost", f"/{token('chat')}", "cr-home", "SOURCE", CR_HOME,
                                  source=SOURCE_APP_ID)], from_app=True)

    def test_redirectors_are_unwrapped_and_tracking_dropped(self):
        self.open_and_check([
            Link("work.localhost", f"/{token('google')}", "cr-work", "WORK", CR_WORK,
                 query="utm_source=mail&keep=1&fbclid=x", wrap=google, expect_query="keep=1"),
            Link("docs.localhost", f"/shop/{token('slack')}", "ff-shop", "SHOP", FF_SHOP,
                 query="utm_medium=chat", wrap=slack, expect_query=""),
            # Nested: Slack around Google around the destination.
            Link("home.localhost", f"/{token('nested')}", "cr-home", "HOME", CR_HOME,
                 query="id=7&UTM_Campaign=x", wrap=lambda d: slack(google(d)), expect_query="id=7"),
        ])

    def test_a_profile_that_is_gone_opens_in_the_fallback(self):
        # The profile existed when the rule was made; with "profileFailure"
        # set to "fallback" its link goes where no rule had taken it, and
        # still counts for its rule.
        shutil.rmtree(desktop.config / "chromium" / GONE_PROFILE)
        self.open_and_check([Link("gone.localhost", f"/{token('gone')}", "ff-personal", "GONE",
                                  (CHROMIUM_ID, GONE_PROFILE))])

    def test_a_browser_that_is_missing_opens_in_the_fallback(self):
        link = Link("missing.localhost", f"/{token('missing')}", "ff-personal", "MISSING", ("vivaldi-stable", None))
        self.open_and_check([link])
        self.assertIn("Problem: vivaldi-stable", "\n".join(desktop_texts()))

    def test_a_local_page_opens_through_pivra_in_the_fallback(self):
        # Pivra is the desktop's HTML viewer as well: a page opened by path
        # reaches it as a file link. The fallback's profile can't take a file
        # link, so the fallback browser opens it in the profile it picks; the
        # page then sends that browser on to the server.
        path = f"/{token('local')}"
        page = desktop.root / "pages" / f"{path[1:]}.html"
        page.parent.mkdir(exist_ok=True)
        page.write_text('<!doctype html><meta http-equiv="refresh" content="0; url='
                        + server.url("other.localhost", path) + '">\n')
        expected = dict(desktop.counts())
        expected["fallback"] = expected.get("fallback", 0) + 1
        wait_all([desktop.xdg_open(str(page))])
        request = server.wait_for_path(path)
        self.assertIsNotNone(request, "the page never sent its browser on")
        self.assertIn(request.cookies().get("profile"), {"ff-personal", "ff-shop"}, "a Firefox profile opened it")
        journal = [e["text"] for e in desktop.journal() if e.get("path") == str(page)]
        self.assertEqual(journal[:1], [f"Link from unknown app → fallback → {FIREFOX_ID} · {FIREFOX_DEFAULT}"])
        poll("the counts", lambda: desktop.counts() == expected, 15.0, 0.05)

    def test_a_burst_of_links_all_arrive_each_in_its_profile(self):
        kinds = [
            lambda n: Link("work.localhost", f"/{n}", "cr-work", "WORK", CR_WORK),
            lambda n: Link("home.localhost", f"/{n}", "cr-home", "HOME", CR_HOME),
            lambda n: Link("docs.localhost", f"/shop/{n}", "ff-shop", "SHOP", FF_SHOP),
            lambda n: Link("docs.localhost", f"/personal/{n}", "ff-personal", "PERSONAL", FF_PERSONAL),
            lambda n: Link("other.localhost", f"/{n}", "ff-personal", "fallback", FALLBACK),
        ]
        self.open_and_check([kinds[i % len(kinds)](token(f"burst{i}")) for i in range(20)], together=True)


def desktop_texts() -> list[str]:
    return [e["text"] for e in desktop.journal()]


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--pivra", default=str(REPOSITORY / "build/dev/cli/pivra"))
    parser.add_argument("--keep", action="store_true")
    parser.add_argument("--inside", action="store_true", help=argparse.SUPPRESS)
    known, rest = parser.parse_known_args()
    if known.inside:
        runner = unittest.TextTestRunner(stream=report_stream(), verbosity=2)
        program = unittest.main(argv=[sys.argv[0], *rest], exit=False, testRunner=runner)
        return 0 if program.result.wasSuccessful() else 1

    try:
        check_programs()
    except Failure as failure:
        print(f"e2e: {failure}", file=sys.stderr)
        return 1
    pivra = Path(known.pivra).resolve()
    if not os.access(pivra, os.X_OK):
        print(f"e2e: {pivra} isn't a program; build it first", file=sys.stderr)
        return 1
    become_subreaper()
    root = temporary_root()
    status = run_inside_session(Path(__file__).resolve(), ["--inside", *rest], root, RUN_GIVE_UP,
                                {"PIVRA_E2E_PROGRAM": str(pivra)})
    if known.keep or status != 0:
        print(f"e2e: files kept in {root}", file=sys.stderr)
    else:
        shutil.rmtree(root, ignore_errors=True)
    return status


if __name__ == "__main__":
    sys.exit(main())
