#!/usr/bin/env python3
"""Times saved scans (the ncdu JSON export) against ncdu and gdu on the trees of
scan_bench.py: writing one (scan + export) and reading one back.

Export: `ringfold-scan -o FILE` against `ncdu -0 -o FILE` and `gdu -n -o FILE` on the
same tree, warm cache. Import: every reader loads the same ncdu-written file:
`ringfold-scan -f` (report only), `ncdu -0 -f FILE -o /dev/null` (ncdu has no way to
load without a user interface other than loading and writing it again) and
`gdu -n -s -f` (load and print the total). Medians of N alternating runs; peak memory
from GNU time. The import's bytes per entry are (peak - peak on an empty export) /
entries, as scan_bench.py measures a live scan. The totals read back must equal the
live scan's before any figure is printed.
"""
import argparse
import json
import os
import shutil
import statistics
import subprocess
import tempfile

from scan_bench import CASES, build_tree, run_measured


def medians(commands, runs):
    failed = set()
    for name, cmd in commands.items():  # one untimed pass: warm cache, files in place
        try:
            run_measured(cmd)
        except SystemExit:
            failed.add(name)
    for name in failed:  # gdu cannot read deep trees, for one
        print(f"({name} failed on this tree; left out)")
    commands = {n: c for n, c in commands.items() if n not in failed}
    times = {n: [] for n in commands}
    peaks = {n: [] for n in commands}
    for _ in range(runs):
        for name, cmd in commands.items():
            t, m, _ = run_measured(cmd)
            times[name].append(t)
            peaks[name].append(m)
    return {n: (statistics.median(times[n]), max(peaks[n])) for n in commands}


def table(title, med, ours):
    print(f"== {title} ==")
    print(f"{'command':34} {'seconds':>8} {'peak MiB':>9} {'ringfold-scan is':>18}")
    for name, (t, m) in med.items():
        rel = "-" if name == ours else f"{t / med[ours][0]:.2f}x faster"
        print(f"{name:34} {t:8.3f} {m / 2**20:9.1f} {rel:>18}")


def totals(report):
    return report["items"], report["allocatedSize"], report["logicalSize"]


def bench_case(args, label, path, work):
    scan = os.path.join(args.bin, "ringfold-scan")
    ours_file, ncdu_file, gdu_file = (os.path.join(work, f"{n}.json") for n in ("rf", "ncdu", "gdu"))
    live = json.loads(run_measured([scan, "--no-progress", "--format=json", "--top", "0", path])[2])
    print(f"\n#### {label}: {path}: {live['items']:,} entries")

    export = {"ringfold-scan -o": [scan, "--no-progress", "--top", "0", "-o", ours_file, path],
              "ncdu -0 -o": ["ncdu", "-0", "-o", ncdu_file, path],
              "gdu -n -o": ["gdu", "-n", "-o", gdu_file, path]}
    export = {n: c for n, c in export.items() if shutil.which(c[0])}
    med = medians(export, args.runs)
    table(f"export (scan + write), warm cache, median of {args.runs}", med, "ringfold-scan -o")
    results = {"entries": live["items"], "export": med}
    sizes = {n: os.path.getsize(f) for n, f in (("ringfold", ours_file), ("ncdu", ncdu_file),
                                                 ("gdu", gdu_file)) if os.path.exists(f)}
    print("file bytes per entry: " + ", ".join(f"{n} {s / live['items']:.1f}" for n, s in sizes.items()))

    read = lambda f: json.loads(run_measured([scan, "-f", f, "--format=json", "--top", "0"])[2])
    for name, f in (("ours", ours_file), ("ncdu's", ncdu_file)):
        same = totals(read(f)) == totals(live)
        print(f"totals read back from {name} file {'identical to' if same else 'DIFFERENT from'} the live scan's")
        if not same:
            raise SystemExit(f"{totals(read(f))} vs {totals(live)}")

    imports = {"ringfold-scan -f (ncdu's file)": [scan, "-f", ncdu_file, "--format=json", "--top", "0"],
               "ringfold-scan -f (own file)": [scan, "-f", ours_file, "--format=json", "--top", "0"],
               "ncdu -0 -f ... -o /dev/null": ["ncdu", "-0", "-f", ncdu_file, "-o", "/dev/null"],
               "gdu -n -s -f": ["gdu", "-n", "-s", "-f", ncdu_file]}
    imports = {n: c for n, c in imports.items() if shutil.which(c[0])}
    med = medians(imports, args.runs)
    table(f"import of ncdu's file, warm cache, median of {args.runs}", med,
          "ringfold-scan -f (ncdu's file)")
    empty = os.path.join(work, "empty.json")
    with open(empty, "w") as f:
        f.write('[1,2,{},[{"name":"/empty"}]]\n')
    _, empty_peak, _ = run_measured([scan, "-f", empty, "--format=json"])
    per_entry = (med["ringfold-scan -f (ncdu's file)"][1] - empty_peak) / live["items"]
    print(f"ringfold-scan -f memory: {per_entry:.1f} bytes per entry")
    results.update(imports=med, importBytesPerEntry=per_entry, fileBytes=sizes)

    if shutil.which("zstd"):  # does a built-in --compress pay?
        t, _, packed = run_measured(["zstd", "-3", "-c", "-T1", ours_file])
        print(f"zstd -3 of our export: {len(packed) / sizes['ringfold']:.3f} of the size, "
              f"{t:.3f} s (one thread)")
        results["zstd"] = {"ratio": len(packed) / sizes["ringfold"], "seconds": t}
    return results


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--bin", default="build/bin")
    ap.add_argument("--path", help="tree to export instead of the built cases")
    ap.add_argument("--cases", default="mixed,huge-folder,deep-chain")
    ap.add_argument("--tree-dir", default=os.path.join(tempfile.gettempdir(), "ringfold-bench-trees"))
    ap.add_argument("--entries", type=int, default=300000)
    ap.add_argument("--flat-entries", type=int, default=1000000)
    ap.add_argument("--chain-depth", type=int, default=25000)
    ap.add_argument("--runs", type=int, default=5)
    ap.add_argument("--json", help="also write the figures to this file")
    args = ap.parse_args()
    os.makedirs(args.tree_dir, exist_ok=True)
    results = {}
    with tempfile.TemporaryDirectory(prefix="rf-saved-bench-") as work:
        if args.path:
            results["path"] = bench_case(args, "given tree", args.path, work)
        for case in [] if args.path else [c.strip() for c in args.cases.split(",") if c.strip()]:
            results[case] = bench_case(args, f"{case} ({CASES[case][1]})", build_tree(args, case), work)
    if args.json:
        with open(args.json, "w") as f:
            json.dump(results, f, indent=2)


if __name__ == "__main__":
    main()
