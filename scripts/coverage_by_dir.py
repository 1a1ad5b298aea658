#!/usr/bin/env python3
"""Prints line coverage per directory from a gcovr JSON summary."""
import json
import sys
from collections import defaultdict

def main(path):
    with open(path) as f:
        summary = json.load(f)
    covered, total = defaultdict(int), defaultdict(int)
    for entry in summary["files"]:
        directory = entry["filename"].rsplit("/", 1)[0]
        for key in (directory, "all of src"):
            covered[key] += entry["line_covered"]
            total[key] += entry["line_total"]
    for key in sorted(total, key=lambda k: (k == "all of src", k)):
        share = 100.0 * covered[key] / total[key] if total[key] else 100.0
        print(f"{key:<24} {covered[key]:>6} / {total[key]:<6} lines  {share:5.1f}%")

if __name__ == "__main__":
    main(sys.argv[1])
