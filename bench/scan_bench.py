#!/usr/bin/env python3
"""Times ringfold-scan against du, gdu, ncdu and a bare walker on three trees: a
mixed tree, one huge folder and one deep chain (or on one given tree).

Warm cache: one untimed pass of each command, then N rounds in which every
command runs once, in turn (alternating, so drift hits all alike); the median per
command is reported, with ratios to the fastest peer and to the bare walker.
Peak memory comes from GNU time (%M); Ringfold's bytes per
entry are (peak on the tree - peak on an empty folder) / entries. With root, a
cold-cache pass drops the page cache before every single run.
"""
import argparse
import json
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time


def run_measured(cmd):
    """Runs cmd with stdout captured; returns (seconds, peak RSS bytes, stdout).

    Peak memory comes from GNU time's %M: a child forked straight from Python would
    start as a copy of this interpreter and report its size as the command's peak."""
    tmp = tempfile.gettempdir()
    out_path = os.path.join(tmp, f"rf-bench-out-{os.getpid()}")
    rss_path = os.path.join(tmp, f"rf-bench-rss-{os.getpid()}")
    with open(out_path, "wb") as out_file:
        start = time.perf_counter()
        proc = subprocess.run(["/usr/bin/time", "-f", "%M", "-o", rss_path, *cmd],
                              stdout=out_file, stderr=subprocess.DEVNULL)
        elapsed = time.perf_counter() - start
    if proc.returncode != 0:
        raise SystemExit(f"command failed ({proc.returncode}): {' '.join(cmd)}")
    with open(out_path, "rb") as f:
        out = f.read()
    with open(rss_path) as f:
        peak = int(f.read().split()[-1]) * 1024
    os.unlink(out_path)
    os.unlink(rss_path)
    return elapsed, peak, out


def drop_caches():
    try:
        subprocess.run(["sync"], check=True)
        with open("/proc/sys/vm/drop_caches", "w") as f:
            f.write("3\n")
        return True
    except OSError:
        return False


CASES = {
    # name: (tree builder arguments, description)
    "mixed": (lambda a, d: [d, str(a.entries)], "folders of ~100 entries, three levels"),
    "huge-folder": (lambda a, d: ["--flat", d, str(a.flat_entries)], "one folder of many files"),
    "deep-chain": (lambda a, d: ["--chain", d, str(a.chain_depth)], "one chain of nested folders"),
}


def build_tree(args, case):
    make, _ = CASES[case]
    size = {"mixed": args.entries, "huge-folder": args.flat_entries,
            "deep-chain": args.chain_depth}[case]
    path = os.path.join(args.tree_dir, f"{case}-{size}")
    stamp = path + ".complete"
    if not os.path.exists(stamp):
        shutil.rmtree(path, ignore_errors=True)
        print(f"building the {case} tree in {path} ...", flush=True)
        subprocess.run([os.path.join(args.bin, "ringfold_bench_tree"), *make(args, path)],
                       check=True)
        open(stamp, "w").close()
    return path


def bench_case(args, label, path, cold_allowed):
    scan = os.path.join(args.bin, "ringfold-scan")
    bare = os.path.join(args.bin, "ringfold_bare_walker")
    threads = ["--threads", str(args.threads)] if args.threads else []
    commands = {
        "ringfold-scan": [scan, "--no-progress", "--format=json", "--top", "0", *threads, path],
        "bare walker (2 threads)": [bare, "--threads", "2", path],
        "du -s": ["du", "-s", path],
        "gdu -n -p -s": ["gdu", "-n", "-p", "-s", path],
        "ncdu -0 -o /dev/null": ["ncdu", "-0", "-o", "/dev/null", path],
    }
    for name in [n for n, cmd in commands.items() if not shutil.which(cmd[0])]:
        print(f"(skipping {name}: not installed)")
        del commands[name]

    # Totals must agree with the bare walker's before any timing means anything. The
    # bare walker opens full paths, so it cannot follow a chain beyond PATH_MAX.
    _, _, out = run_measured(commands["ringfold-scan"])
    report = json.loads(out)
    try:
        _, _, bare_out = run_measured(commands["bare walker (2 threads)"])
        bare_totals = tuple(int(x) for x in bare_out.split())
    except SystemExit:
        bare_totals = None
    ours = (report["items"], report["allocatedSize"], report["logicalSize"])
    print(f"\n#### {label}: {path}: {report['items']:,} entries")
    if bare_totals == ours:
        print("totals (items, allocated, logical) identical to the bare walker's")
    else:
        print(f"totals {ours} vs bare walker {bare_totals}: "
              f"{'DIFFERENT' if bare_totals else 'walker failed'}; the walker is left out")
        del commands["bare walker (2 threads)"]
    peers = [n for n in commands if n not in ("ringfold-scan", "bare walker (2 threads)")]

    empty = tempfile.mkdtemp(prefix="rf-bench-empty-")
    _, empty_rss, _ = run_measured([scan, "--no-progress", "--format=json", empty])
    os.rmdir(empty)

    def timed(cold):
        times = {n: [] for n in commands}
        rss = {n: [] for n in commands}
        failed = set()
        if not cold:
            for name, cmd in commands.items():
                try:
                    run_measured(cmd)
                except SystemExit:
                    failed.add(name)
        for _ in range(args.runs):
            for name, cmd in commands.items():
                if name in failed:
                    continue
                if cold and not drop_caches():
                    return None
                try:
                    t, m, _ = run_measured(cmd)
                except SystemExit:
                    failed.add(name)
                    continue
                times[name].append(t)
                rss[name].append(m)
        for name in failed:
            print(f"({name} failed on this tree; left out)")
        return {n: (statistics.median(times[n]), max(rss[n])) for n in commands if times[n]}

    results = {"entries": report["items"], "identicalToBareWalker": bare_totals == ours}
    for kind, cold in (("warm", False), ("cold", True)):
        if cold and (args.no_cold or not cold_allowed or os.geteuid() != 0):
            continue
        med = timed(cold)
        if med is None:
            print("(cold cache skipped: cannot drop the page cache)")
            continue
        ours_t = med["ringfold-scan"][0]
        fastest_peer = min((med[p][0] for p in peers if p in med), default=None)
        print(f"== {kind} cache, median of {args.runs} alternating runs ==")
        print(f"{'command':28} {'seconds':>8} {'peak MiB':>9} {'ringfold-scan is':>18}")
        for name, (t, m) in med.items():
            rel = "-" if name == "ringfold-scan" else f"{t / ours_t:.2f}x faster"
            print(f"{name:28} {t:8.3f} {m / 2**20:9.1f} {rel:>18}")
        if "du -s" in med:
            print(f"ringfold-scan vs du -s: {med['du -s'][0] / ours_t:.2f}x faster")
        if fastest_peer:
            print(f"ringfold-scan vs fastest peer: {fastest_peer / ours_t:.2f}x faster")
        results[kind] = {n: {"seconds": t, "peakBytes": m} for n, (t, m) in med.items()}
        if not cold:
            per_entry = (med["ringfold-scan"][1] - empty_rss) / report["items"]
            results["bytesPerEntry"] = per_entry
            print(f"ringfold-scan memory: {per_entry:.1f} bytes per entry "
                  f"(peak {med['ringfold-scan'][1] / 2**20:.1f} MiB, empty-folder scan "
                  f"{empty_rss / 2**20:.1f} MiB)")
    return results


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--bin", default="build/bin")
    ap.add_argument("--path", help="tree to scan instead of the built cases")
    ap.add_argument("--cases", default="mixed,huge-folder,deep-chain",
                    help="built trees to measure, comma-separated: " + ", ".join(CASES))
    ap.add_argument("--tree-dir", default=os.path.join(tempfile.gettempdir(), "ringfold-bench-trees"))
    ap.add_argument("--entries", type=int, default=300000, help="entries of the mixed tree")
    ap.add_argument("--flat-entries", type=int, default=1000000, help="files of the huge folder")
    ap.add_argument("--chain-depth", type=int, default=25000, help="levels of the deep chain")
    ap.add_argument("--runs", type=int, default=7)
    ap.add_argument("--threads", type=int, default=0, help="ringfold-scan --threads (0: default)")
    ap.add_argument("--no-cold", action="store_true")
    ap.add_argument("--no-micro", action="store_true")
    ap.add_argument("--json", help="also write the figures to this file")
    args = ap.parse_args()

    os.makedirs(args.tree_dir, exist_ok=True)
    results = {}
    if args.path:
        results["path"] = bench_case(args, "given tree", args.path, True)
    else:
        for case in [c.strip() for c in args.cases.split(",") if c.strip()]:
            if case not in CASES:
                raise SystemExit(f"unknown case {case!r}; known: {', '.join(CASES)}")
            # Cold-cache runs only for the mixed tree: they drop every cache per run.
            results[case] = bench_case(args, f"{case} ({CASES[case][1]})",
                                       build_tree(args, case), case == "mixed")
    if args.json:
        with open(args.json, "w") as f:
            json.dump(results, f, indent=2)


if __name__ == "__main__":
    main()
