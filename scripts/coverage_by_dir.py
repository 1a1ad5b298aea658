#!/usr/bin/env python3
"""Prints line coverage per directory from a gcovr JSON summary."""
import json
import sys
from collections import defaultdict

def source_name(name):
    """The source path of a file; the base layer's headers are also seen
    through its include link (BUILD/layers/base/base/...)."""
    if "/layers/" in name:
        return "src/" + name.split("/layers/", 1)[1].split("/", 1)[1]
    return name

def main(path):
    with open(path) as f:
        summary = json.load(f)
    files = {}
    for entry in summary["files"]:
        name = source_name(entry["filename"])
        seen = files.get(name, (0, 0))
        files[name] = max(seen, (entry["line_covered"], entry["line_total"]))
    covered, total = defaultdict(int), defaultdict(int)
    for name, (lines_covered, lines_total) in files.items():
        directory = name.rsplit("/", 1)[0]
        for key in (directory, "all of src"):
            covered[key] += lines_covered
            total[key] += lines_total
    for key in sorted(total, key=lambda k: (k == "all of src", k)):
        share = 100.0 * covered[key] / total[key] if total[key] else 100.0
        print(f"{key:<24} {covered[key]:>6} / {total[key]:<6} lines  {share:5.1f}%")

if __name__ == "__main__":
    main(sys.argv[1])
