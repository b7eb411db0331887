#!/usr/bin/env python3
"""Times ringfold-scan against du, gdu, ncdu and a bare walker on one tree.

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


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--bin", default="build/bin")
    ap.add_argument("--path", help="tree to scan (default: build the 300k-entry tree)")
    ap.add_argument("--tree-dir", default=os.path.join(tempfile.gettempdir(), "ringfold-bench-tree"))
    ap.add_argument("--entries", type=int, default=300000)
    ap.add_argument("--runs", type=int, default=7)
    ap.add_argument("--threads", type=int, default=0, help="ringfold-scan --threads (0: default)")
    ap.add_argument("--no-cold", action="store_true")
    ap.add_argument("--no-micro", action="store_true")
    ap.add_argument("--json", help="also write the figures to this file")
    args = ap.parse_args()

    scan = os.path.join(args.bin, "ringfold-scan")
    bare = os.path.join(args.bin, "ringfold_bare_walker")
    path = args.path
    if not path:
        path = args.tree_dir
        stamp = os.path.join(path, ".complete")
        if not os.path.exists(stamp):
            shutil.rmtree(path, ignore_errors=True)
            print(f"building the benchmark tree in {path} ...", flush=True)
            subprocess.run([os.path.join(args.bin, "ringfold_bench_tree"), path,
                            str(args.entries)], check=True)
            open(stamp, "w").close()

    threads = ["--threads", str(args.threads)] if args.threads else []
    commands = {
        "ringfold-scan": [scan, "--no-progress", "--format=json", "--top", "0", *threads, path],
        "bare walker (2 threads)": [bare, "--threads", "2", path],
        "du -s": ["du", "-s", path],
        "gdu -n -p -s": ["gdu", "-n", "-p", "-s", path],
        "ncdu -0 -o /dev/null": ["ncdu", "-0", "-o", "/dev/null", path],
    }
    missing = [name for name, cmd in commands.items() if not shutil.which(cmd[0])]
    for name in missing:
        print(f"(skipping {name}: not installed)")
        del commands[name]
    peers = [n for n in commands if n not in ("ringfold-scan", "bare walker (2 threads)")]

    # Totals must agree with the bare walker's before any timing means anything.
    _, _, out = run_measured(commands["ringfold-scan"])
    report = json.loads(out)
    _, _, bare_out = run_measured(commands["bare walker (2 threads)"])
    b_items, b_alloc, b_logical = (int(x) for x in bare_out.split())
    same = (report["items"], report["allocatedSize"], report["logicalSize"]) == (
        b_items, b_alloc, b_logical)
    print(f"tree: {path}: {report['items']:,} entries")
    print(f"totals vs bare walker: items {report['items']} / {b_items}, allocated "
          f"{report['allocatedSize']} / {b_alloc}, logical {report['logicalSize']} / {b_logical}"
          f" -> {'identical' if same else 'DIFFERENT'}")

    empty = tempfile.mkdtemp(prefix="rf-bench-empty-")
    _, empty_rss, _ = run_measured([scan, "--no-progress", "--format=json", empty])
    os.rmdir(empty)

    def timed(cold):
        times = {n: [] for n in commands}
        rss = {n: [] for n in commands}
        if not cold:
            for cmd in commands.values():
                run_measured(cmd)
        for _ in range(args.runs):
            for name, cmd in commands.items():
                if cold and not drop_caches():
                    return None
                t, m, _ = run_measured(cmd)
                times[name].append(t)
                rss[name].append(m)
        return {n: (statistics.median(times[n]), max(rss[n])) for n in commands}

    results = {"entries": report["items"], "identical": same}
    for label, cold in (("warm", False), ("cold", True)):
        if cold and (args.no_cold or os.geteuid() != 0):
            print("\n(cold cache skipped: needs root to drop the page cache)")
            continue
        med = timed(cold)
        if med is None:
            print("\n(cold cache skipped: cannot drop the page cache)")
            continue
        fastest_peer = min((med[p][0] for p in peers), default=None)
        print(f"\n== {label} cache, median of {args.runs} alternating runs ==")
        print(f"{'command':28} {'seconds':>8} {'peak MiB':>9} {'vs fastest peer':>16} {'vs bare':>8}")
        for name, (t, m) in med.items():
            vs_peer = f"{fastest_peer / t:.2f}x faster" if fastest_peer else "-"
            vs_bare = f"{t / med['bare walker (2 threads)'][0]:.2f}x"
            print(f"{name:28} {t:8.3f} {m / 2**20:9.1f} {vs_peer:>16} {vs_bare:>8}")
        results[label] = {n: {"seconds": t, "peakBytes": m} for n, (t, m) in med.items()}
        if not cold:
            per_entry = (med["ringfold-scan"][1] - empty_rss) / report["items"]
            results["bytesPerEntry"] = per_entry
            print(f"ringfold-scan memory: {per_entry:.1f} bytes per entry "
                  f"(peak {med['ringfold-scan'][1] / 2**20:.1f} MiB, empty-folder scan "
                  f"{empty_rss / 2**20:.1f} MiB)")
    if args.json:
        with open(args.json, "w") as f:
            json.dump(results, f, indent=2)


if __name__ == "__main__":
    main()
