#!/usr/bin/env python3
"""Times the desktop program end to end beside ringfold-scan on the same trees.

`ringfold --screenshot FILE TREE` starts the program, scans TREE, paints the map of
the finished scan, saves the window and exits: that is the whole road from launch to
a usable map. On each tree (the scan benchmark's tree and /usr/share) the two
commands run in turn, warm cache, N rounds after one untimed pass; the median wall
time and the largest peak RSS (GNU time %M) are reported. Targets: end to end at most
the command-line scan + 0.5 s, and under 80 MiB peak on /usr/share.
"""
import argparse
import json
import os
import re
import statistics
import subprocess
import sys
import tempfile
import time

TARGET_EXTRA_SECONDS = 0.5
TARGET_PEAK_MIB = 80


def measured(cmd, env):
    """(seconds, peak RSS bytes, stderr) of one run; fails loudly on a non-zero exit."""
    fd, rss_path = tempfile.mkstemp(prefix="rf-app-bench-rss-")
    os.close(fd)
    start = time.perf_counter()
    proc = subprocess.run(["/usr/bin/time", "-f", "%M", "-o", rss_path, *cmd], env=env,
                          stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    elapsed = time.perf_counter() - start
    with open(rss_path) as f:
        peak = int(f.read().split()[-1]) * 1024
    os.unlink(rss_path)
    if proc.returncode != 0:
        sys.exit(f"command failed ({proc.returncode}): {' '.join(cmd)}\n"
                 f"{proc.stderr.decode(errors='replace')}")
    return elapsed, peak, proc.stderr.decode(errors="replace")


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--bin", default="build/bin")
    ap.add_argument("--path", help="the scan benchmark's tree (default: its built tree)")
    # The scan benchmark's mixed tree (bench/scan_bench.py builds it first).
    ap.add_argument("--tree-dir", default=os.path.join(tempfile.gettempdir(), "ringfold-bench-trees",
                                                       "mixed-300000"))
    ap.add_argument("--runs", type=int, default=5)
    ap.add_argument("--xvfb", action="store_true",
                    help="draw on an Xvfb display instead of Qt's offscreen platform")
    ap.add_argument("--json", help="also write the figures to this file")
    # bench/run hands every option to both benchmarks; the scan benchmark's others
    # mean nothing here.
    args, _ = ap.parse_known_args()

    app = os.path.join(args.bin, "ringfold")
    scan = os.path.join(args.bin, "ringfold-scan")
    if not os.access(app, os.X_OK):
        print("(desktop program not built: skipping the end-to-end benchmark)")
        return
    trees = [t for t in (args.path or args.tree_dir, "/usr/share") if os.path.isdir(t)]

    state = tempfile.mkdtemp(prefix="rf-app-bench-")
    env = dict(os.environ, XDG_CONFIG_HOME=os.path.join(state, "config"),
               XDG_DATA_HOME=os.path.join(state, "data"))
    xvfb = None
    if args.xvfb:
        # One X server for the whole run, so its start-up is not timed with the program.
        read_fd, write_fd = os.pipe()
        xvfb = subprocess.Popen(["Xvfb", "-displayfd", str(write_fd), "-screen", "0",
                                 "1280x800x24", "-nolisten", "tcp"], pass_fds=(write_fd,),
                                stderr=subprocess.DEVNULL)
        os.close(write_fd)
        with os.fdopen(read_fd) as f:
            env["DISPLAY"] = ":" + f.readline().strip()
        env.pop("QT_QPA_PLATFORM", None)
    else:
        env["QT_QPA_PLATFORM"] = "offscreen"
    shot = os.path.join(state, "window.png")

    results = {}
    print(f"\n== Desktop program end to end ({'Xvfb' if args.xvfb else 'offscreen'}), "
          f"warm cache, median of {args.runs} alternating runs ==")
    print(f"{'tree':34} {'command':22} {'seconds':>8} {'peak MiB':>9}")
    for tree in trees:
        commands = {
            "ringfold-scan": [scan, "--no-progress", "--format=json", "--top", "0", tree],
            "ringfold --screenshot": [app, "--screenshot", shot, tree],
        }
        for cmd in commands.values():
            measured(cmd, env)
        times = {n: [] for n in commands}
        peaks = {n: [] for n in commands}
        phases = []
        for _ in range(args.runs):
            for name, cmd in commands.items():
                t, m, err = measured(cmd, env)
                times[name].append(t)
                peaks[name].append(m)
                found = re.search(r"scan ([\d.]+) s, map painted ([\d.]+) s later", err)
                if name != "ringfold-scan" and found:
                    phases.append((float(found.group(1)), float(found.group(2))))
        med = {n: (statistics.median(times[n]), max(peaks[n])) for n in commands}
        for name, (t, m) in med.items():
            print(f"{tree[-34:]:34} {name:22} {t:8.3f} {m / 2**20:9.1f}")
        extra = med["ringfold --screenshot"][0] - med["ringfold-scan"][0]
        scan_in_app = statistics.median(p[0] for p in phases) if phases else float("nan")
        paint = statistics.median(p[1] for p in phases) if phases else float("nan")
        print(f"{'':34} inside the program: scan {scan_in_app:.3f} s, map painted "
              f"{paint:.3f} s later; end to end = CLI + {extra:.3f} s "
              f"({'meets' if extra <= TARGET_EXTRA_SECONDS else 'MISSES'} "
              f"+{TARGET_EXTRA_SECONDS} s)")
        if tree.rstrip("/") == "/usr/share":
            peak = med["ringfold --screenshot"][1] / 2**20
            print(f"{'':34} peak {peak:.1f} MiB "
                  f"({'meets' if peak < TARGET_PEAK_MIB else 'MISSES'} < {TARGET_PEAK_MIB} MiB)")
        results[tree] = {n: {"seconds": t, "peakBytes": m} for n, (t, m) in med.items()}
        results[tree]["scanInProgram"] = scan_in_app
        results[tree]["paintAfterScan"] = paint
    if xvfb:
        xvfb.terminate()
        xvfb.wait()
    if args.json:
        with open(args.json, "w") as f:
            json.dump(results, f, indent=2)


if __name__ == "__main__":
    main()
