"""What the checks of many clips share: running programs, asking ffprobe, and a table with a row for each clip and way."""
import argparse
import concurrent.futures
import json
import os
import pathlib
import subprocess

ROOT = pathlib.Path(__file__).resolve().parent.parent


def run(args, given=b""):
    """Status, standard output as bytes and standard error as text of a program that is given some input."""
    done = subprocess.run([str(a) for a in args], input=given, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=600)
    return done.returncode, done.stdout, done.stderr.decode("utf-8", "replace")


class Unreadable(Exception):
    """ffprobe can't read a file, and so nothing can be said of it."""


def ask(path, what, *options):
    """The document of ffprobe."""
    status, out, err = run(["ffprobe", "-v", "error", "-of", "json", *options, "-show_entries", what, path])
    if status:
        raise Unreadable(" ".join(err.split()))
    return json.loads(out)


def parser(usage, build="dev"):
    made = argparse.ArgumentParser(usage=usage)
    made.add_argument("--tessor", default=str(ROOT / "build" / build / "tessor"), type=os.path.abspath)
    made.add_argument("--media", action="append")
    made.add_argument("--only", default="")
    made.add_argument("--jobs", type=int, default=os.cpu_count())
    return made


def clips(args, without=(".tsv", ".srt", ".txt")):
    folders = [pathlib.Path(f) for f in args.media or [ROOT / "../shared/media"]]
    return sorted(p for f in folders for p in f.iterdir() if p.suffix not in without and args.only in p.name)


def table(heads, check, cases, jobs):
    """Prints what `check` gives for every (clip, way), a list of cells whose first is the verdict; how many failed."""
    failed = 0

    def judge(case):
        try:
            return check(*case)
        except Unreadable as fault:
            return ["unreadable", *[""] * (len(heads) - 1), fault]

    print("| " + " | ".join(["clip", "way", "verdict", *heads]) + " |\n|" + "---|" * (3 + len(heads)))
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        for (clip, way), row in zip(cases, pool.map(judge, cases)):
            if row:
                print("| " + " | ".join([clip.name, way, *(str(cell) for cell in row)]) + " |", flush=True)
                failed += row[0] in ("FAULT", "FAILED", "unchecked", "unreadable")
    print(f"\n{len(cases)} rows, {failed} failed")
    return failed
