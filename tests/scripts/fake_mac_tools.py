#!/usr/bin/env python3
"""Stand-ins for the Mac's tools that scripts/package-mac runs, for its test.

Linked under each tool's name into a folder put first on PATH; which tool runs
is the name it was called by. Every call is appended to $FAKE_LOG as one JSON
line ({"tool": ..., "args": [...]}), so the test reads the order of events.

Code files are text here: a first line "MACHO:<kind>" makes one (kind:
executable, dylib, bundle or object), and lines "RPATH:<path>", "DEP:<path>"
and "ID:<name>" stand for its search paths, the libraries it loads and its own
install name. A stapled app holds Contents/CodeResources.

Behaviour set by the test: FAKE_NOTARY_STATUS (the notary service's answer),
FAKE_IDENTITIES (security's list), FAKE_MACDEPLOYQT_DEP (a library that
macdeployqt leaves pointing outside the bundle).
"""
import json
import os
import pathlib
import plistlib
import shutil
import sys
import zipfile

KINDS = {
    "executable": "Mach-O 64-bit executable arm64",
    "dylib": "Mach-O 64-bit dynamically linked shared library arm64",
    "bundle": "Mach-O 64-bit bundle arm64",
    "object": "Mach-O 64-bit object arm64",
}


def log(tool, args):
    with open(os.environ["FAKE_LOG"], "a", encoding="utf-8") as f:
        f.write(json.dumps({"tool": tool, "args": args}) + "\n")


def lines(path):
    return pathlib.Path(path).read_text(encoding="utf-8").splitlines()


def write_code(path, kind, *extra):
    path = pathlib.Path(path)
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text("\n".join([f"MACHO:{kind}", *extra]) + "\n", encoding="utf-8")


def write_plist(path, values):
    path = pathlib.Path(path)
    path.parent.mkdir(parents=True, exist_ok=True)
    with open(path, "wb") as f:
        plistlib.dump(values, f)


def cmake(args):
    if args[:1] == ["--build"]:
        app = pathlib.Path("build/release/hosts/mac/app/Pivra.app")
        write_plist(app / "Contents/Info.plist", {
            "CFBundleExecutable": "Pivra",
            "CFBundleShortVersionString": os.environ.get("FAKE_VERSION", "0.1.0"),
            "CFBundleVersion": os.environ.get("FAKE_BUILD", "7"),
            "LSMinimumSystemVersion": "13.0",
        })
        write_code(app / "Contents/MacOS/Pivra", "executable",
                   "RPATH:/opt/homebrew/lib", "RPATH:@executable_path/../Frameworks",
                   "DEP:@rpath/QtCore.framework/Versions/A/QtCore",
                   "DEP:/opt/homebrew/opt/libzip/lib/libzip.5.dylib",
                   "DEP:/usr/lib/libc++.1.dylib")
    return 0


def macdeployqt(args):
    app = pathlib.Path(args[0])
    exe = app / "Contents/MacOS/Pivra"
    exe.write_text(exe.read_text(encoding="utf-8").replace(
        "/opt/homebrew/opt/libzip/lib/", "@executable_path/../Frameworks/"), encoding="utf-8")
    frameworks = app / "Contents/Frameworks"
    fw = frameworks / "QtCore.framework"
    write_code(fw / "Versions/A/QtCore", "dylib", "ID:@rpath/QtCore.framework/Versions/A/QtCore")
    write_plist(fw / "Versions/A/Resources/Info.plist", {"CFBundleExecutable": "QtCore"})
    os.symlink("A", fw / "Versions/Current")
    os.symlink("Versions/Current/QtCore", fw / "QtCore")
    os.symlink("Versions/Current/Resources", fw / "Resources")
    extra = [f"DEP:{os.environ['FAKE_MACDEPLOYQT_DEP']}"] if os.environ.get("FAKE_MACDEPLOYQT_DEP") else []
    write_code(frameworks / "libzip.5.dylib", "dylib", "ID:/opt/homebrew/opt/libzip/lib/libzip.5.dylib", *extra)
    write_code(app / "Contents/PlugIns/platforms/libqcocoa.dylib", "bundle",
               "DEP:@rpath/QtCore.framework/Versions/A/QtCore")
    (app / "Contents/Resources").mkdir(parents=True, exist_ok=True)
    (app / "Contents/Resources/qt.conf").write_text("[Paths]\nPlugins = PlugIns\n", encoding="utf-8")
    if os.environ.get("FAKE_OBJECT_FILE"):
        write_code(app / "Contents/Resources/stray.o", "object")
    return 0


def file_tool(args):
    path = args[-1]
    try:
        first = lines(path)[0] if lines(path) else ""
    except UnicodeDecodeError:
        first = ""
    kind = first[len("MACHO:"):] if first.startswith("MACHO:") else None
    print(KINDS[kind] if kind else "ASCII text")
    return 0


def otool(args):
    flag, path = args[0], args[-1]
    content = lines(path)
    if flag == "-l":
        for line in content:
            if line.startswith("RPATH:"):
                print("          cmd LC_RPATH\n      cmdsize 32")
                print(f"         path {line[6:]} (offset 12)")
    elif flag == "-L":
        print(f"{path}:")
        for line in content:
            if line.startswith(("ID:", "DEP:")):
                print(f"\t{line.split(':', 1)[1]} (compatibility version 1.0.0, current version 1.0.0)")
    elif flag == "-D":
        print(f"{path}:")
        for line in content:
            if line.startswith("ID:"):
                print(line[3:])
    return 0


def install_name_tool(args):
    assert args[0] == "-delete_rpath", args
    path = pathlib.Path(args[2])
    kept = [line for line in lines(path) if line != f"RPATH:{args[1]}"]
    path.write_text("\n".join(kept) + "\n", encoding="utf-8")
    return 0


def ditto(args):
    if args[:3] == ["-c", "-k", "--keepParent"]:
        source, archive = pathlib.Path(args[3]), args[4]
        with zipfile.ZipFile(archive, "w") as z:
            for item in sorted(source.rglob("*")):
                if item.is_file() and not item.is_symlink():
                    z.write(item, item.relative_to(source.parent))
        return 0
    shutil.copytree(args[0], args[1], symlinks=True)
    return 0


def plutil(args):
    if args[0] == "-lint":
        with open(args[-1], "rb") as f:
            plistlib.load(f)
        return 0
    assert args[0] == "-extract" and args[2] == "raw", args
    key, path = args[1], args[-1]
    text = pathlib.Path(path).read_bytes()
    try:
        values = plistlib.loads(text)
    except Exception:
        try:
            values = json.loads(text)
        except ValueError:
            print(f"{path}: not a property list", file=sys.stderr)
            return 1
    if key not in values:
        print(f"No value at that key path", file=sys.stderr)
        return 1
    print(values[key])
    return 0


def xcrun(args):
    if args[0] == "--find":
        print(f"/fake/{args[1]}")
        return 0
    if args[:2] == ["notarytool", "submit"]:
        status = os.environ.get("FAKE_NOTARY_STATUS", "Accepted")
        if status == "unreachable":
            print("Error: the network connection was lost", file=sys.stderr)
            return 69
        print(json.dumps({"id": "2efe2717-52ef-43a5", "status": status, "message": "Processing complete"}))
        return 0
    if args[:2] == ["notarytool", "log"]:
        print('{"status": "Invalid", "statusSummary": "The signature does not include a secure timestamp."}')
        return 0
    if args[:2] == ["stapler", "staple"]:
        (pathlib.Path(args[2]) / "Contents/CodeResources").write_text("ticket\n", encoding="utf-8")
        return 0
    if args[:2] == ["stapler", "validate"]:
        return 0 if (pathlib.Path(args[2]) / "Contents/CodeResources").exists() else 65
    print(f"xcrun: unexpected {args}", file=sys.stderr)
    return 1


def security(args):
    print(os.environ.get("FAKE_IDENTITIES",
                         '  1) 0123456789ABCDEF0123456789ABCDEF01234567 "Developer ID Application: Omra (TEAM123456)"\n'
                         "     1 valid identities found"))
    return 0


def brew(args):
    assert args[0] == "--prefix", args
    print(os.path.join(os.environ["FAKE_BREW"], args[1]))
    return 0


def main():
    tool = os.path.basename(sys.argv[0])
    args = sys.argv[1:]
    log(tool, args)
    handlers = {
        "uname": lambda a: print("Darwin") or 0,
        "brew": brew,
        "cmake": cmake,
        "macdeployqt": macdeployqt,
        "file": file_tool,
        "otool": otool,
        "install_name_tool": install_name_tool,
        "codesign": lambda a: 0,
        "spctl": lambda a: 0,
        "ditto": ditto,
        "plutil": plutil,
        "xcrun": xcrun,
        "security": security,
    }
    return handlers[tool](args)


if __name__ == "__main__":
    sys.exit(main())
