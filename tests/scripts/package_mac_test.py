#!/usr/bin/env python3
"""scripts/package-mac run against stand-ins for the Mac's tools.

The real tools exist on a Mac only; what this checks is the script's own
part: what it signs, in which order and with which options, when it stops,
what a failed run leaves behind, and that the feed's hash is the shipped
zip's. Each test runs the script in a fresh folder holding a copy of it and of
the app's entitlements, with tests/scripts/fake_mac_tools.py first on PATH.
"""
import hashlib
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest
import zipfile

REPO = pathlib.Path(__file__).resolve().parents[2]
FAKES = pathlib.Path(__file__).resolve().parent / "fake_mac_tools.py"
TOOLS = ["uname", "brew", "cmake", "file", "otool", "install_name_tool", "codesign", "spctl",
         "ditto", "plutil", "xcrun", "security"]
IDENTITY = "Developer ID Application: Omra (TEAM123456)"
APP = "build/package.incomplete/Pivra.app"


class PackageMacTest(unittest.TestCase):
    def setUp(self):
        self.root = pathlib.Path(tempfile.mkdtemp(prefix="package-mac-test."))
        self.addCleanup(shutil.rmtree, self.root)
        (self.root / "scripts").mkdir()
        shutil.copy(REPO / "scripts/package-mac", self.root / "scripts/package-mac")
        (self.root / "hosts/mac/app").mkdir(parents=True)
        shutil.copy(REPO / "hosts/mac/app/Pivra.entitlements", self.root / "hosts/mac/app")
        bin_dir = self.root / "fake-bin"
        bin_dir.mkdir()
        for tool in TOOLS:
            (bin_dir / tool).symlink_to(FAKES)
        brew = self.root / "fake-brew"
        (brew / "qt/bin").mkdir(parents=True)
        (brew / "qt/bin/macdeployqt").symlink_to(FAKES)
        self.log = self.root / "calls.jsonl"
        self.env = {
            "PATH": f"{bin_dir}:{os.environ['PATH']}",
            "HOME": str(self.root),
            "TMPDIR": str(self.root),
            "FAKE_LOG": str(self.log),
            "FAKE_BREW": str(brew),
        }

    def run_script(self, *args, **env):
        result = subprocess.run(["bash", "scripts/package-mac", *args], cwd=self.root,
                                env={**self.env, **env}, capture_output=True, text=True)
        return result

    def calls(self, tool=None):
        if not self.log.exists():
            return []
        entries = [json.loads(line) for line in self.log.read_text(encoding="utf-8").splitlines()]
        return [e["args"] for e in entries if tool is None or e["tool"] == tool] if tool else entries

    def signed(self):
        """The paths signed, in order, each with its codesign arguments."""
        return [(args[-1], args[:-1]) for args in self.calls("codesign") if "--sign" in args]

    def package(self):
        return self.root / "build/package"

    def assertSucceeded(self, result):
        self.assertEqual(result.returncode, 0, result.stderr)

    def assertLeftNothing(self, result):
        self.assertEqual(result.returncode, 1, result.stdout + result.stderr)
        self.assertFalse(self.package().exists())

    def assertFeedMatchesZip(self):
        feed = json.loads((self.package() / "updates.json").read_text(encoding="utf-8"))
        zip_path = self.package() / "Pivra-0.1.0.zip"
        self.assertEqual(feed["sha256"], hashlib.sha256(zip_path.read_bytes()).hexdigest())
        self.assertEqual(feed["version"], "0.1.0")
        self.assertEqual(feed["build"], 7)
        self.assertEqual(feed["minimumSystemVersion"], "13.0")
        return feed, zip_path

    def test_ad_hoc_signs_each_item_inside_out_and_the_app_last(self):
        result = self.run_script()
        self.assertSucceeded(result)
        signed = self.signed()
        paths = [path for path, _ in signed]
        self.assertEqual(sorted(paths[:2]), [f"{APP}/Contents/Frameworks/libzip.5.dylib",
                                             f"{APP}/Contents/PlugIns/platforms/libqcocoa.dylib"])
        self.assertEqual(paths[2:], [f"{APP}/Contents/Frameworks/QtCore.framework/Versions/A", APP])
        for path, options in signed:
            self.assertEqual(options[:3], ["--force", "--sign", "-"], path)
            self.assertNotIn("--deep", options, path)
            self.assertNotIn("--options", options, path)
        self.assertEqual(signed[-1][1][-2:], ["--entitlements", "hosts/mac/app/Pivra.entitlements"])
        self.assertTrue(all("--entitlements" not in options for _, options in signed[:-1]))
        verify = [args for args in self.calls("codesign") if "--verify" in args]
        self.assertEqual(verify, [["--verify", "--strict", "--deep", "--verbose=2", APP]])
        self.assertEqual(self.calls("xcrun"), [])
        self.assertEqual(self.calls("spctl"), [])
        feed, zip_path = self.assertFeedMatchesZip()
        self.assertEqual(feed["url"], "https://releases.omra.app/Pivra-0.1.0.zip")
        with zipfile.ZipFile(zip_path) as z:
            self.assertIn("Pivra.app/Contents/MacOS/Pivra", z.namelist())
        self.assertTrue((self.package() / "Pivra.app/Contents/Info.plist").exists())
        self.assertFalse((self.root / "build/package.incomplete").exists())

    def test_search_paths_outside_the_bundle_are_dropped_before_signing(self):
        self.assertSucceeded(self.run_script())
        executable = (self.package() / "Pivra.app/Contents/MacOS/Pivra").read_text(encoding="utf-8")
        self.assertNotIn("RPATH:/opt/homebrew/lib", executable)
        self.assertIn("RPATH:@executable_path/../Frameworks", executable)
        tools = [entry["tool"] for entry in self.calls()]
        self.assertLess(tools.index("install_name_tool"), tools.index("codesign"))

    def test_an_identity_gives_every_item_the_runtime_and_a_timestamp(self):
        for how in ("argument", "environment"):
            with self.subTest(how):
                self.log.unlink(missing_ok=True)
                if how == "argument":
                    result = self.run_script(IDENTITY)
                else:
                    result = self.run_script(PIVRA_SIGN_IDENTITY=IDENTITY)
                self.assertSucceeded(result)
                signed = self.signed()
                self.assertEqual(len(signed), 4)
                for path, options in signed:
                    self.assertEqual(options[:6], ["--force", "--sign", IDENTITY, "--options", "runtime",
                                                   "--timestamp"], path)
                    self.assertNotIn("--deep", options, path)
                self.assertEqual(signed[-1][0], APP)
                self.assertIn("--entitlements", signed[-1][1])
                # Not notarized: Gatekeeper would refuse it, so it is not asked.
                self.assertEqual(self.calls("spctl"), [])
                self.assertIn("not notarized", result.stdout)

    def test_notarized_the_zip_that_ships_is_made_from_the_stapled_app(self):
        result = self.run_script(IDENTITY, PIVRA_NOTARY_PROFILE="pivra",
                                 PIVRA_RELEASE_URL="https://example.org/dl/Pivra-0.1.0.zip")
        self.assertSucceeded(result)
        entries = self.calls()
        order = [(e["tool"], e["args"][:2]) for e in entries if e["tool"] in ("xcrun", "spctl", "ditto")
                 and e["args"][:1] != ["--find"]]
        self.assertEqual([tool if tool != "xcrun" else " ".join(args) for tool, args in order], [
            "ditto",                 # the app into the staging folder
            "ditto",                 # the zip for the notary service
            "notarytool submit", "stapler staple", "stapler validate", "spctl",
            "ditto",                 # the zip that ships
        ])
        submit = self.calls("xcrun")[[a[:2] for a in self.calls("xcrun")].index(["notarytool", "submit"])]
        self.assertEqual(submit[3:], ["--keychain-profile", "pivra", "--wait", "--output-format", "json"])
        self.assertEqual(self.calls("spctl"), [["--assess", "--type", "execute", "--verbose=2", APP]])
        feed, zip_path = self.assertFeedMatchesZip()
        self.assertEqual(feed["url"], "https://example.org/dl/Pivra-0.1.0.zip")
        with zipfile.ZipFile(zip_path) as z:
            self.assertIn("Pivra.app/Contents/CodeResources", z.namelist())

    def test_a_refused_notarization_prints_the_log_and_leaves_no_package(self):
        for status in ("Invalid", "Rejected", "unreachable"):
            with self.subTest(status):
                result = self.run_script(IDENTITY, PIVRA_NOTARY_PROFILE="pivra", FAKE_NOTARY_STATUS=status)
                self.assertLeftNothing(result)
                self.assertIn("notarization did not succeed", result.stderr)
                self.assertIn("nothing was written to build/package", result.stderr)
                stapled = [a for a in self.calls("xcrun") if a[:1] == ["stapler"]]
                self.assertEqual(stapled, [])
                if status != "unreachable":
                    self.assertIn(f'status "{status}"', result.stderr)
                    self.assertIn("secure timestamp", result.stderr)  # from notarytool log
                self.log.unlink()

    def test_refusals_before_the_build(self):
        cases = {
            "notarizing without an identity": ((), {"PIVRA_NOTARY_PROFILE": "pivra"}, "no signing identity"),
            "notarizing ad hoc": (("-",), {"PIVRA_NOTARY_PROFILE": "pivra"}, "no signing identity"),
            "an identity not in the keychain": (("Developer ID Application: Someone Else",), {},
                                                "no valid code-signing identity"),
            "notarizing a development certificate": (
                ("Apple Development: Omra",),
                {"PIVRA_NOTARY_PROFILE": "pivra",
                 "FAKE_IDENTITIES": '  1) 0123 "Apple Development: Omra (TEAM123456)"'},
                "takes only a \"Developer ID Application"),
            "a plain-http release address": ((), {"PIVRA_RELEASE_URL": "http://example.org/Pivra.zip"},
                                             "must be an https:// address"),
            "a quote in the release address": ((), {"PIVRA_RELEASE_URL": 'https://example.org/"x'},
                                               "a quote or a backslash"),
            "a space in the release address": ((), {"PIVRA_RELEASE_URL": "https://example.org/a b"},
                                               "a space"),
        }
        for name, (args, env, message) in cases.items():
            with self.subTest(name):
                previous = self.package()
                previous.mkdir(parents=True, exist_ok=True)
                (previous / "updates.json").write_text("{}", encoding="utf-8")
                result = self.run_script(*args, **env)
                self.assertLeftNothing(result)
                self.assertIn(message, result.stderr)
                self.assertEqual(self.calls("cmake"), [])
                self.assertEqual(self.signed(), [])

    def test_failures_after_the_build_leave_no_package(self):
        cases = {
            "a library still loaded from Homebrew": (
                {"FAKE_MACDEPLOYQT_DEP": "/opt/homebrew/opt/zstd/lib/libzstd.1.dylib"},
                "Contents/Frameworks/libzip.5.dylib → /opt/homebrew/opt/zstd/lib/libzstd.1.dylib"),
            "an object file in the bundle": ({"FAKE_OBJECT_FILE": "1"}, "not code that can be signed"),
            "a build number that is not a number": ({"FAKE_BUILD": "7a"}, "is not a whole number"),
            "a version that is not dotted numbers": ({"FAKE_VERSION": "1.0-beta"}, "is not a dotted version"),
        }
        for name, (env, message) in cases.items():
            with self.subTest(name):
                result = self.run_script(**env)
                self.assertLeftNothing(result)
                self.assertIn(message, result.stderr)
                self.assertIn("nothing was written to build/package", result.stderr)
                self.assertEqual(self.signed(), [])
                self.log.unlink()

    def test_usage(self):
        result = self.run_script("one", "two")
        self.assertEqual(result.returncode, 2)
        self.assertIn("takes one argument", result.stderr)
        result = self.run_script("--help")
        self.assertEqual(result.returncode, 0)
        self.assertIn("bash scripts/package-mac [IDENTITY]", result.stdout)
        self.assertEqual(self.calls("cmake"), [])

    def test_the_entitlements_are_a_plain_empty_dictionary(self):
        # codesign embeds the file as it is: standard XML, no comments.
        import plistlib
        text = (REPO / "hosts/mac/app/Pivra.entitlements").read_bytes()
        self.assertNotIn(b"<!--", text)
        self.assertEqual(plistlib.loads(text), {})


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[1:]])
