#!/usr/bin/env python3
"""Which tests notice which mistakes? Builds the program once with all mutants of tools/mutants.txt in it, each behind a
switch, and runs the tests of a layer once for every mutant of it.

    tools/mutants.py [-o TABLE] [-t TEST] [NAME...]

NAME chooses mutants by a part of their file's path ("jet/disk", "ledger") or their number; without one, all. The table
has a line a mutant: number, file, kind, and what failed, as executable:function,function, with "!" where the test was
ended by the clock or a crash. -t runs these executables alone (a regular expression). The build is in build/mutants.

The list: a path alone on its line, then its mutants as "kind: text", where text occurs once in the file, has one
[[old => new]] in it, and \\n for the end of a line. Old is a whole expression, or whole statements when it ends in ";";
new may be empty then.
"""
import argparse, json, os, re, resource, shutil, subprocess, sys, threading
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
WORK = ROOT / "build" / "mutants"
SWITCH = "#include <cstdlib>\n" \
         "inline bool mutant(int n) { static const char* const on = std::getenv(\"MUTANT\"); " \
         "static const int number = on ? std::atoi(on) : 0; return number == n; }\n#line 1\n"

MEMORY = (2 << 30, 2 << 30)  # for one test: a loop without end shall not take the machine
LOCK = threading.Lock()      # for tests that share a file

# Tests that may notice a mutant of a folder, as labels of CTest.
TESTS = [("platform/vbrt", "vbrt|jetsql|ado|reports"), ("platform/jet/", "jet|jetsql|ado"),
         ("platform/jetsql", "jetsql|ado"), ("platform/ado", "ado|db"), ("platform/chm", "chm|htmlhelp"),
         ("platform/htmlhelp", "htmlhelp|help"), ("platform/controls", "controls|mainwindow|ledger|robot"),
         ("platform/datareport", "datareport|reports"), ("tools", "tools"), ("reports", "reports|mainwindow"),
         ("help", "help|htmlhelp"), ("find", "find|mainwindow|robot"),
         ("", "db|ledger|mainwindow|robot|find|reports")]


def read_list():
    mutants, path = [], None
    for line in (ROOT / "tools" / "mutants.txt").read_text().splitlines():
        if not line.strip() or line.startswith("#"):
            continue
        kind, colon, text = line.strip().partition(": ")
        if not line.startswith(" "):
            path = line.strip()
            continue
        match = re.fullmatch(r"(.*)\[\[(.*?) =>(?: (.*?))?\]\](.*)", text)
        if not colon or not match:
            sys.exit("not understood: " + line)
        before, old, new, after = [part.replace("\\n", "\n") for part in match.groups(default="")]
        mutants.append({"number": len(mutants) + 1, "file": path, "kind": kind, "text": text,
                        "find": before + old + after, "at": len(before), "old": old, "new": new})
    return mutants


def mutated(path, mutants):
    """The text of a file with all its mutants in it."""
    text, places = (ROOT / path).read_text(), []
    for m in mutants:
        m["there"] = text.count(m["find"]) == 1
        if m["there"]:
            places.append((text.index(m["find"]) + m["at"], m))
        else:
            print("%s: not there, or not once: %s" % (path, m["text"]), file=sys.stderr)
    behind = len(text)
    for at, m in sorted(places, key=lambda p: p[0], reverse=True):
        if at + len(m["old"]) > behind:
            sys.exit("%s: two mutants in one place: %s" % (path, m["text"]))
        behind = at
        old = "bool(%s)" % m["old"] if m["new"] in ("true", "false") else m["old"]
        form = "{ if (mutant(%d)) { %s } else { %s } }" if m["old"].endswith(";") else "(mutant(%d) ? (%s) : (%s))"
        text = text[:at] + form % (m["number"], m["new"], old) + text[at + len(m["old"]):]
    return SWITCH + text


def build(mutants):
    source = WORK / "source"
    files = subprocess.run(["git", "ls-files", "-co", "--exclude-standard"], cwd=ROOT, capture_output=True, text=True,
                           check=True).stdout.split("\n")
    for path in filter(lambda p: p and (ROOT / p).is_file(), files):
        own = [m for m in mutants if m["file"] == path]
        data = mutated(path, own).encode() if own else (ROOT / path).read_bytes()
        target = source / path
        if not target.exists() or target.read_bytes() != data:
            target.parent.mkdir(parents=True, exist_ok=True)
            target.write_bytes(data)
            shutil.copymode(ROOT / path, target)
    run = lambda *command: subprocess.run(command, check=True, stdout=sys.stderr)
    run("cmake", "-G", "Ninja", "-S", source, "-B", WORK / "build", "-DCMAKE_BUILD_TYPE=", "-DCMAKE_CXX_FLAGS=-O1 -w")
    return run


def tests():
    shown = subprocess.run(["ctest", "--test-dir", WORK / "build", "--show-only=json-v1"], capture_output=True,
                           text=True, check=True)
    found = []
    for test in json.loads(shown.stdout)["tests"]:
        properties = {p["name"]: p["value"] for p in test["properties"]}
        environment = dict(e.split("=", 1) for e in properties.get("ENVIRONMENT", []))
        if test["name"].startswith("tst_"):
            alone = LOCK if "RESOURCE_LOCK" in properties else threading.Lock()
            found.append((test["name"], "".join(properties.get("LABELS", [])), test.get("command"), environment, alone))
    return found


def failures(test, number):
    """What of a test fails with this mutant, or None."""
    name, _, command, environment, alone = test
    environment = {**os.environ, **environment, "MUTANT": str(number), "QTEST_DISABLE_STACK_DUMP": "1"}
    try:
        with alone:
            done = subprocess.run([*command, "-nocrashhandler"], env=environment, capture_output=True, cwd=WORK,
                                  timeout=30, preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, MEMORY))
    except subprocess.TimeoutExpired:
        return name + ":!"
    if done.returncode == 0:
        return None
    functions = re.findall(r"^FAIL!  : \w+::(\w+)\(", done.stdout.decode(errors="replace"), re.M)
    return name + ":" + (",".join(dict.fromkeys(functions)) + ("!" if done.returncode < 0 else "") or "!")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("-o", default="/dev/stdout", help="where the table goes")
    parser.add_argument("-t", default="", help="run these tests alone, whatever the layer")
    parser.add_argument("names", nargs="*")
    options = parser.parse_args()
    mutants = read_list()
    run = build(mutants)
    chosen = [m for m in mutants if m.get("there") and (
              not options.names or any(n == str(m["number"]) or n in m["file"] for n in options.names))]
    labels = {m["number"]: next(l for start, l in TESTS if m["file"].startswith(start)) for m in chosen}
    wanted = lambda test, m: re.search(options.t, test[0]) if options.t else re.fullmatch(labels[m["number"]], test[1])
    every = [t for t in tests() if any(wanted(t, m) for m in chosen)]
    run("nice", "ninja", "-C", WORK / "build", *[t[0] for t in every])
    every = [t for t in tests() if t[0] in {e[0] for e in every}]
    caught = 0
    with open(options.o, "w") as table, ThreadPoolExecutor(os.cpu_count()) as pool:
        bad = list(filter(None, pool.map(lambda t: failures(t, 0), every)))
        if bad:
            sys.exit("fails without a mutant: " + " ".join(bad))
        for m in chosen:
            found = list(filter(None, pool.map(lambda t: failures(t, m["number"]), [t for t in every if wanted(t, m)])))
            caught += bool(found)
            print(m["number"], m["file"], m["kind"], " ".join(found) or "NOT CAUGHT " + m["text"], sep="\t", file=table,
                  flush=True)
    print("%d of %d caught" % (caught, len(chosen)), file=sys.stderr)


main()
