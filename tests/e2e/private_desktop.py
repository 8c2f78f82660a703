"""A private Linux desktop for running Pivra with real browsers.

Everything lives under one temporary folder: the home folder, the XDG folders,
the browsers' profiles, Pivra's files. Chromium runs as a normal instance on
the headless Ozone platform; Firefox ESR runs on the X server that xvfb-run
provides. A web server on loopback records every request with its host, path
and Cookie header, so that the profile a link reached can be told by the
cookie the profile was given on its first visit.

The browsers get the options a test run needs (no first run, no default-browser
check, no sandbox when run as root, the headless platform) from wrapper
programs in the private bin folder, named after the browsers' own programs;
desktop entries of the same ids in the private data folder run them. Pivra
finds the browsers through those entries exactly as it finds installed ones,
and launches them with its usual command lines.

Used by the end-to-end test and by the open-latency benchmark.
"""

from __future__ import annotations

import ctypes
import http.server
import json
import os
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time
import urllib.parse
from dataclasses import dataclass, field
from pathlib import Path

PIVRA_ID = "app.omra.pivra"
CHROMIUM_ID = "chromium"
FIREFOX_ID = "firefox-esr"
SOURCE_APP_ID = "org.example.Chat"

# Host names that both browsers resolve to loopback without asking a resolver,
# so that domain rules can tell links apart while every request stays local.
HOSTS = ("work.localhost", "home.localhost", "docs.localhost", "gone.localhost",
         "missing.localhost", "plain.localhost", "other.localhost", "bench.localhost")

# Time-outs for polling, in seconds: far longer than any of these takes on a
# loaded machine, so that reaching one means the thing did not happen.
BROWSER_START_GIVE_UP = 90.0
LINK_GIVE_UP = 45.0


class Failure(Exception):
    """The private desktop could not be set up or did not do what was asked."""


def poll(what: str, check, give_up: float, interval: float = 0.02):
    """Calls `check` until it gives something true, and returns that; raises
    Failure naming `what` when `give_up` seconds pass first."""
    deadline = time.monotonic() + give_up
    while True:
        result = check()
        if result:
            return result
        if time.monotonic() > deadline:
            raise Failure(f"timed out after {give_up:.0f} s waiting for {what}")
        time.sleep(interval)


# --- the web server ---------------------------------------------------------

@dataclass
class Request:
    at: float          # time.monotonic() when the request line arrived
    host: str          # the Host header without the port
    path: str          # path and query as sent
    cookie: str        # the Cookie header, empty when none

    def cookies(self) -> dict[str, str]:
        jar = {}
        for piece in self.cookie.split(";"):
            name, _, value = piece.strip().partition("=")
            if name:
                jar[name] = value
        return jar


class RecordingServer:
    """An HTTP server on 127.0.0.1 and ::1 (one port for both, since a browser
    may try either for a name under "localhost") that records every request.

    /hello?profile=NAME&next=HOST,HOST... sets the cookie profile=NAME for this
    host and redirects to the next host with the rest of the list, so that one
    visit gives a browser profile its cookie on every test host. Every other
    path answers a small page."""

    def __init__(self):
        self.requests: list[Request] = []
        self._lock = threading.Lock()
        self._servers = []
        self.port = self._bind()
        for server in self._servers:
            threading.Thread(target=server.serve_forever, daemon=True).start()

    def _bind(self) -> int:
        recorder = self

        class Handler(http.server.BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def log_message(self, *args):  # quiet: the harness reports what matters
                pass

            def do_GET(self):
                host = (self.headers.get("Host") or "").rsplit(":", 1)[0]
                recorder._record(Request(time.monotonic(), host, self.path, self.headers.get("Cookie") or ""))
                parts = urllib.parse.urlsplit(self.path)
                query = urllib.parse.parse_qs(parts.query)
                if parts.path == "/hello" and "profile" in query:
                    profile = query["profile"][0]
                    rest = [h for h in query.get("next", [""])[0].split(",") if h]
                    self.send_response(302 if rest else 200)
                    self.send_header("Set-Cookie", f"profile={profile}; Path=/; Max-Age=86400; SameSite=Lax")
                    if rest:
                        following = urllib.parse.urlencode({"profile": profile, "next": ",".join(rest[1:])})
                        self.send_header("Location", f"http://{rest[0]}:{recorder.port}/hello?{following}")
                    body = b""
                else:
                    self.send_response(200)
                    body = b"<!doctype html><title>ok</title>ok\n"
                self.send_header("Content-Type", "text/html")
                self.send_header("Content-Length", str(len(body)))
                self.send_header("Cache-Control", "no-store")
                self.end_headers()
                self.wfile.write(body)

            def do_HEAD(self):
                self.do_GET()

        class V4(http.server.ThreadingHTTPServer):
            address_family = socket.AF_INET
            daemon_threads = True

        class V6(http.server.ThreadingHTTPServer):
            address_family = socket.AF_INET6
            daemon_threads = True

        # The IPv4 port is ephemeral; ::1 takes the same one, or both are tried again.
        for _ in range(50):
            v4 = V4(("127.0.0.1", 0), Handler)
            port = v4.server_address[1]
            try:
                v6 = V6(("::1", port), Handler)
            except OSError:
                v4.server_close()
                continue
            self._servers = [v4, v6]
            return port
        raise Failure("no port free on both 127.0.0.1 and ::1")

    def _record(self, request: Request):
        with self._lock:
            self.requests.append(request)

    def find(self, predicate) -> list[Request]:
        with self._lock:
            return [r for r in self.requests if predicate(r)]

    def wait_for_path(self, path_prefix: str, give_up: float = LINK_GIVE_UP) -> Request:
        """The first request whose path starts with `path_prefix`, once it has come."""
        found = poll(f"a request for {path_prefix}",
                     lambda: self.find(lambda r: r.path.startswith(path_prefix)), give_up, 0.005)
        return found[0]

    def wait_for_paths(self, path_prefixes: list[str], give_up: float = LINK_GIVE_UP) -> dict[str, Request | None]:
        """The first request for each path prefix, waiting at most `give_up`
        seconds for them all; None for those that did not come."""
        def first(prefix):
            found = self.find(lambda r: r.path.startswith(prefix))
            return found[0] if found else None
        try:
            poll(f"{len(path_prefixes)} requests", lambda: all(first(p) for p in path_prefixes), give_up, 0.005)
        except Failure:
            pass
        return {prefix: first(prefix) for prefix in path_prefixes}

    def url(self, host: str, path: str) -> str:
        return f"http://{host}:{self.port}{path}"

    def close(self):
        for server in self._servers:
            server.shutdown()
            server.server_close()


# --- the desktop -------------------------------------------------------------

CHROMIUM_OPTIONS = [
    "--ozone-platform=headless", "--no-first-run", "--no-default-browser-check",
    "--disable-background-networking", "--disable-component-update", "--disable-sync",
    "--password-store=basic", "--disable-gpu", "--disable-dev-shm-usage",
]

FIREFOX_PREFERENCES = {
    "browser.shell.checkDefaultBrowser": False,
    "browser.startup.homepage_override.mstone": "ignore",
    "browser.startup.page": 0,
    "browser.startup.homepage": "about:blank",
    "browser.aboutwelcome.enabled": False,
    "browser.newtabpage.enabled": False,
    "browser.tabs.warnOnClose": False,
    "browser.sessionstore.resume_from_crash": False,
    "datareporting.policy.dataSubmissionEnabled": False,
    "datareporting.policy.firstRunURL": "",
    "toolkit.telemetry.reportingpolicy.firstRun": False,
    "app.update.enabled": False,
    "app.normandy.enabled": False,
    "extensions.update.enabled": False,
    "browser.safebrowsing.malware.enabled": False,
    "browser.safebrowsing.phishing.enabled": False,
    "browser.safebrowsing.downloads.enabled": False,
    "network.captive-portal-service.enabled": False,
    "network.connectivity-service.enabled": False,
    "browser.region.network.url": "",
    "dom.ipc.processCount": 2,
}


def write(path: Path, text: str, mode: int | None = None):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text)
    if mode is not None:
        path.chmod(mode)


@dataclass
class Desktop:
    root: Path
    pivra: Path
    home: Path = field(init=False)

    def __post_init__(self):
        self.home = self.root / "home"
        self.bin = self.root / "bin"
        self.config = self.home / ".config"
        self.data = self.home / ".local/share"
        self.state = self.home / ".local/state"
        self.cache = self.home / ".cache"
        self.runtime = self.root / "runtime"
        # Pivra's files: its rules and settings, and its journal and counts.
        self.pivra_config = self.config / "pivra"
        self.pivra_state = self.state / "pivra"
        self.started: list[subprocess.Popen] = []

    def share_display_with_the_bus(self):
        """Gives what the session bus starts the display, as a desktop session does."""
        self.run("dbus-update-activation-environment", "DISPLAY", "XAUTHORITY")

    # The environment of everything in the private desktop; the display and the
    # session bus are added by xvfb-run and dbus-run-session.
    def environment(self) -> dict[str, str]:
        keep = {k: os.environ[k] for k in ("LANG", "TERM", "DISPLAY", "XAUTHORITY", "DBUS_SESSION_BUS_ADDRESS")
                if k in os.environ}
        return keep | {
            "HOME": str(self.home),
            "USER": os.environ.get("USER", "root"),
            "PATH": f"{self.bin}:/usr/local/bin:/usr/bin:/bin",
            "XDG_CONFIG_HOME": str(self.config),
            "XDG_DATA_HOME": str(self.data),
            "XDG_STATE_HOME": str(self.state),
            "XDG_CACHE_HOME": str(self.cache),
            "XDG_RUNTIME_DIR": str(self.runtime),
            "XDG_DATA_DIRS": "/usr/local/share:/usr/share",
            "XDG_CONFIG_DIRS": str(self.root / "sysconfig"),
            # Firefox takes the profile marked Default=1 when none is named,
            # rather than making one for this installation.
            "MOZ_LEGACY_PROFILES": "1",
            "MOZ_CRASHREPORTER_DISABLE": "1",
            "MOZ_DISABLE_AUTO_SAFE_MODE": "1",
        }

    def create(self, chromium_profiles: list[str], firefox_profiles: list[str], firefox_default: str):
        for folder in (self.bin, self.config, self.data / "applications", self.state, self.cache,
                       self.runtime, self.root / "sysconfig"):
            folder.mkdir(parents=True, exist_ok=True)
        self.runtime.chmod(0o700)
        as_root = os.geteuid() == 0
        chromium_options = CHROMIUM_OPTIONS + (["--no-sandbox"] if as_root else [])
        write(self.bin / "chromium",
              "#!/bin/sh\nexec /usr/bin/chromium " + " ".join(chromium_options) + ' "$@"\n', 0o755)
        write(self.bin / "firefox-esr", '#!/bin/sh\nexec /usr/bin/firefox-esr "$@"\n', 0o755)
        self.entry(CHROMIUM_ID, "Chromium", f"{self.bin}/chromium %U", browser=True)
        self.entry(FIREFOX_ID, "Firefox ESR", f"{self.bin}/firefox-esr %u", browser=True)
        # An app that opens links: a real program (a copy of timeout(1), so its
        # own file is what the desktop entry names) that runs xdg-open.
        shutil.copy2("/usr/bin/timeout", self.bin / "chat-app")
        self.entry(SOURCE_APP_ID, "Chat", f"{self.bin}/chat-app", browser=False)

        for profile in chromium_profiles:
            (self.config / "chromium" / profile).mkdir(parents=True, exist_ok=True)
        firefox = self.home / ".mozilla/firefox"
        ini = ["[General]", "StartWithLastProfile=1", "Version=2", ""]
        for index, name in enumerate(firefox_profiles):
            folder = firefox / f"{name}.test"
            folder.mkdir(parents=True, exist_ok=True)
            write(folder / "user.js", "".join(f"user_pref({json.dumps(k)}, {json.dumps(v)});\n"
                                              for k, v in FIREFOX_PREFERENCES.items()))
            ini += [f"[Profile{index}]", f"Name={name}", "IsRelative=1", f"Path={name}.test"]
            if name == firefox_default:
                ini.append("Default=1")
            ini.append("")
        write(firefox / "profiles.ini", "\n".join(ini))

    def entry(self, app_id: str, name: str, exec_line: str, browser: bool):
        types = "MimeType=text/html;x-scheme-handler/http;x-scheme-handler/https;\n" if browser else ""
        write(self.data / "applications" / f"{app_id}.desktop",
              f"[Desktop Entry]\nType=Application\nName={name}\nExec={exec_line}\n{types}")

    def run(self, *args: str, timeout: float = 60, check: bool = True) -> subprocess.CompletedProcess:
        done = subprocess.run(list(args), env=self.environment(), capture_output=True, text=True, timeout=timeout)
        if check and done.returncode != 0:
            raise Failure(f"{' '.join(args)} exited with {done.returncode}: {done.stderr.strip()}")
        return done

    def spawn(self, *args: str) -> subprocess.Popen:
        """A program started in a session of its own, its output discarded."""
        process = subprocess.Popen(list(args), env=self.environment(), stdin=subprocess.DEVNULL,
                                stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True)
        self.started.append(process)  # ended with the run, not before
        return process

    # --- Pivra ---

    def install_pivra(self):
        """Pivra installed and made the default for web links: links reach
        its app over the session bus, which starts the app when it is not running."""
        self.run(str(self.pivra), "install")
        for scheme in ("http", "https"):
            got = self.run("xdg-mime", "query", "default", f"x-scheme-handler/{scheme}").stdout.strip()
            if got != f"{PIVRA_ID}.desktop":
                raise Failure(f"the default for {scheme} links is {got!r}, not {PIVRA_ID}.desktop")

    def app_pid(self) -> int | None:
        """The process that owns Pivra's name on the session bus, if one does."""
        done = self.run("dbus-send", "--session", "--print-reply=literal", "--dest=org.freedesktop.DBus",
                        "/org/freedesktop/DBus", "org.freedesktop.DBus.GetConnectionUnixProcessID",
                        f"string:{PIVRA_ID}", check=False)
        if done.returncode != 0:
            return None
        return int(done.stdout.split()[-1])

    def stop_app(self):
        """Ends the running app, if any, and waits until its name is free."""
        pid = self.app_pid()
        if pid is None:
            return
        os.kill(pid, signal.SIGTERM)
        poll("the app to end", lambda: self.app_pid() is None, 15.0)

    def make_default(self, app_id: str):
        self.run("xdg-mime", "default", f"{app_id}.desktop", "x-scheme-handler/http", "x-scheme-handler/https")

    def write_rules(self, rules: dict):
        write(self.pivra_config / "rules.json", json.dumps(rules, indent=2))

    def write_settings(self, settings: dict):
        """Sets these settings, keeping the others."""
        path = self.pivra_config / "settings.json"
        current = json.loads(path.read_text()) if path.exists() else {}
        write(path, json.dumps(current | settings, indent=2))

    def journal(self) -> list[dict]:
        path = self.pivra_state / "pivra-log.jsonl"
        if not path.exists():
            return []
        return [json.loads(line) for line in path.read_text().splitlines() if line.strip()]

    def counts(self) -> dict[str, int]:
        """Links per count key (a rule's id or "fallback") over every day in the file."""
        path = self.pivra_state / "counts.json"
        if not path.exists():
            return {}
        try:
            days = json.loads(path.read_text()).get("days", {})
        except json.JSONDecodeError:
            return {}  # caught between writes of an earlier writer: read again
        totals: dict[str, int] = {}
        for per_key in days.values():
            for key, count in per_key.items():
                totals[key] = totals.get(key, 0) + count
        return totals

    # --- opening links ---

    def xdg_open(self, link: str) -> subprocess.Popen:
        return self.spawn("xdg-open", link)

    def open_from_app(self, link: str) -> subprocess.Popen:
        """xdg-open run by the chat app, so that Pivra finds the app among its parents."""
        return self.spawn(str(self.bin / "chat-app"), "120", "xdg-open", link)


def wait_all(processes: list[subprocess.Popen], give_up: float = LINK_GIVE_UP):
    """Waits for every process; raises when one fails or outlasts the time-out."""
    deadline = time.monotonic() + give_up
    for process in processes:
        try:
            status = process.wait(max(0.1, deadline - time.monotonic()))
        except subprocess.TimeoutExpired:
            raise Failure(f"{process.args} did not finish in {give_up:.0f} s")
        if status != 0:
            raise Failure(f"{process.args} exited with {status}")


# --- processes: everything the run starts is ended with it ------------------

def become_subreaper():
    """Makes this process the one that orphans below it are handed to, so that
    browsers that outlive the program that started them can still be found."""
    libc = ctypes.CDLL(None, use_errno=True)
    PR_SET_CHILD_SUBREAPER = 36
    if libc.prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0) != 0:
        raise Failure("could not become the subreaper of the run's processes")


def descendants(pid: int) -> list[int]:
    children: dict[int, list[int]] = {}
    for entry in os.listdir("/proc"):
        if not entry.isdigit():
            continue
        try:
            stat = Path(f"/proc/{entry}/stat").read_text()
        except OSError:
            continue
        parent = int(stat[stat.rfind(")") + 2:].split()[1])
        children.setdefault(parent, []).append(int(entry))
    found, stack = [], [pid]
    while stack:
        for child in children.get(stack.pop(), []):
            found.append(child)
            stack.append(child)
    return found


def end_descendants(give_up: float = 10.0):
    """Ends every process below this one: asked first, then killed."""
    me = os.getpid()
    for pid in descendants(me):
        try:
            os.kill(pid, signal.SIGTERM)
        except ProcessLookupError:
            pass
    deadline = time.monotonic() + give_up
    while True:
        # Reap what has ended, so that it no longer counts.
        try:
            while os.waitpid(-1, os.WNOHANG)[0] > 0:
                pass
        except ChildProcessError:
            pass
        left = [pid for pid in descendants(me) if not _is_zombie(pid)]
        if not left:
            return
        if time.monotonic() > deadline:
            for pid in left:
                try:
                    os.kill(pid, signal.SIGKILL)
                except ProcessLookupError:
                    pass
            deadline = time.monotonic() + give_up
        time.sleep(0.05)


def _is_zombie(pid: int) -> bool:
    try:
        stat = Path(f"/proc/{pid}/stat").read_text()
    except OSError:
        return True
    return stat[stat.rfind(")") + 2] == "Z"


REQUIRED_PROGRAMS = ("chromium", "firefox-esr", "xvfb-run", "xdg-open", "xdg-mime", "dbus-run-session",
                     "dbus-send", "dbus-update-activation-environment")


def check_programs():
    missing = [p for p in REQUIRED_PROGRAMS if shutil.which(p) is None]
    if missing:
        raise Failure("missing programs: " + ", ".join(missing) + " (bash scripts/setup installs them)")


def run_inside_session(script: Path, arguments: list[str], root: Path, give_up: float,
                       extra_env: dict[str, str]) -> int:
    """Runs `script` with `arguments` on a private session bus and X server,
    as a child of this process (which must be the subreaper); ends every
    process the run left behind before returning the script's exit status.

    What the desktop's programs write (the bus, the browsers, the apps the
    bus starts) goes to desktop.log in `root`, and its end is printed when the
    run fails; the script reports on this process's standard error, whose
    descriptor it is given in PIVRA_E2E_REPORT_FD."""
    desktop_env = Desktop(root, Path("/")).environment()
    command = ["dbus-run-session", "--", "xvfb-run", "-a", "-s", "-screen 0 1280x1024x24 -nolisten tcp",
               sys.executable, str(script), *arguments]
    for folder in ("XDG_RUNTIME_DIR", "XDG_CONFIG_HOME", "XDG_DATA_HOME"):
        Path(desktop_env[folder]).mkdir(parents=True, exist_ok=True)
    # The bus watches the folders of service files that exist when it starts.
    (Path(desktop_env["XDG_DATA_HOME"]) / "dbus-1/services").mkdir(parents=True, exist_ok=True)
    Path(desktop_env["XDG_RUNTIME_DIR"]).chmod(0o700)
    log_path = root / "desktop.log"
    report = os.dup(sys.stderr.fileno())
    status = 1
    with open(log_path, "wb") as log:
        inner = subprocess.Popen(command, env=desktop_env | extra_env | {
            "PIVRA_E2E_ROOT": str(root), "PIVRA_E2E_REPORT_FD": str(report)},
            stdin=subprocess.DEVNULL, stdout=log, stderr=log, pass_fds=(report,), start_new_session=True)
        try:
            status = inner.wait(give_up)
        except subprocess.TimeoutExpired:
            print(f"e2e: gave up after {give_up:.0f} s", file=sys.stderr)
        finally:
            os.close(report)
            end_descendants()
    if status != 0:
        lines = log_path.read_text(errors="replace").splitlines()
        print("e2e: the end of desktop.log:\n" + "\n".join(lines[-40:]), file=sys.stderr)
    return status


def report_stream():
    """Where the script inside the session reports: the outer run's standard error."""
    return os.fdopen(int(os.environ["PIVRA_E2E_REPORT_FD"]), "w", buffering=1)


def temporary_root() -> Path:
    return Path(tempfile.mkdtemp(prefix="pivra-e2e-"))
