"""Times the Windows `xse.exe info` under Wine against the Linux `xse info` on
the same survey, both from a warm page cache, and prints the summary rows of
scripts/bench. Wine's own start-up (the time `xse.exe --help` takes) is shown
apart, since it is paid once per run whatever the file.

usage: wineinfo.py XSE XSE_EXE WINEPREFIX SURVEY [REPETITIONS]"""
import os
import subprocess
import sys
import time

WINE = "/usr/lib/wine/wine64"


def best_wall(command, environment, repetitions):
    walls = []
    for _ in range(repetitions):
        start = time.perf_counter()
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL, env=environment)
        walls.append(time.perf_counter() - start)
    return min(walls)


def row(measure, value, target=""):
    print(f"{measure:<46} {value:>12}   {target}", flush=True)


def main():
    xse, xse_exe, prefix, survey = sys.argv[1:5]
    repetitions = int(sys.argv[5]) if len(sys.argv) > 5 else 5
    environment = dict(os.environ, WINEDEBUG="-all", WINEPREFIX=prefix,
                       WINEDLLOVERRIDES="mscoree,mshtml=")
    size = os.path.getsize(survey) / (1 << 20)
    subprocess.run([xse, "info", survey], check=True, stdout=subprocess.DEVNULL)  # warm cache
    linux = best_wall([xse, "info", survey], environment, repetitions)
    windows = best_wall([WINE, xse_exe, "info", survey], environment, repetitions)
    start_up = best_wall([WINE, xse_exe, "--help"], environment, repetitions)
    row(f"xse.exe info (Wine) / xse info, {size:.0f} MiB", f"{windows / linux:.2f}x")
    row("  the same less Wine's start-up", f"{(windows - start_up) / linux:.2f}x")
    row("xse info, wall time", f"{linux * 1000:.0f} ms")
    row("xse.exe info under Wine, wall time", f"{windows * 1000:.0f} ms")
    row("Wine start-up (xse.exe --help)", f"{start_up * 1000:.0f} ms")


if __name__ == "__main__":
    main()
