"""Whole commands: beside each other by the wall clock, and how one grows with the card, by the processor's time."""

import os
import pathlib
import shutil
import statistics
import subprocess
import time

import goals
import measure

PIN = "benchmark-pin"
WHATS = {"sign": "ctkhost sign, RSA-2048, from start to end", "list": "ctkhost list, from start to end"}
GROWTH = "growth of ctkhost list"
COUNTS = (0, 50, 100, 200, 400)  # certificates with keys


def seconds(command, environment):
    start = time.perf_counter()
    done = subprocess.run(command, env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
    if done.returncode != 0:
        raise SystemExit(f"script/bench: {command[0]} failed: {done.stderr}")
    return time.perf_counter() - start


def rows(text, rounds, build, output, environment):
    if any(text in what for what in WHATS.values()):
        yield from pair_rows(rounds, build, output, environment)
    if text in GROWTH:
        yield from growth_rows(rounds, build, output, environment)


def pair_rows(rounds, build, output, environment):
    cards = softcard(build, output / "softcard", [], environment)
    (output / "pin").write_text(PIN + "\n")
    (output / "message").write_text("Pay 100 to the bearer.\n")
    # What pkcs11-tool's RSA-PKCS signs: a DigestInfo of SHA-256.
    (output / "digest-info").write_bytes(bytes.fromhex("3031300d060960864801650304020105000420") + bytes(32))
    ctkhost = [build / "bin" / "ctkhost", "--extension", build / "QELToken.appex", "--pin-file", output / "pin"]
    tool = ["pkcs11-tool", "--module", build / "QELToken.appex/Contents/Frameworks/libQELTarnwellPkcs11.dylib"]
    pairs = {
        "sign": (ctkhost + ["sign", "--key", "1201", "--algorithm", "rsa-pkcs1-sha256", "--in", output / "message",
                            "--out", output / "signature"],
                 tool + ["--login", "--pin", PIN, "--sign", "--id", "01", "--mechanism", "RSA-PKCS", "--input-file",
                         output / "digest-info", "--output-file", output / "signature"]),
        "list": (ctkhost + ["list"], tool + ["--list-objects"]),
    }
    for name, (product, peer) in pairs.items():
        times = [(seconds(product, cards), seconds(peer, cards)) for _ in range(5 * rounds)]
        yield measure.row(WHATS[name], statistics.median(a / b for a, b in times), "ratio", reference="pkcs11-tool",
                          nanoseconds=1e9 * statistics.median(a for a, _ in times),
                          reference_nanoseconds=1e9 * statistics.median(b for _, b in times))


def processor_seconds(command, environment):
    """Of the command's own process, and of those that it waited for."""
    process = os.posix_spawn(command[0], command, environment,
                             file_actions=[(os.POSIX_SPAWN_OPEN, 1, os.devnull, os.O_WRONLY, 0)])
    os.waitid(os.P_PID, process, os.WEXITED | os.WNOWAIT)
    own = int(pathlib.Path(f"/proc/{process}/schedstat").read_text().split()[0]) / 1e9  # of its only thread
    _, status, usage = os.wait4(process, 0)
    if status != 0:
        raise SystemExit(f"script/bench: {command[0]} failed")
    return own, usage.ru_utime + usage.ru_stime - own


def growth_rows(rounds, build, output, environment):
    """Processor time beyond that with an empty card."""
    command = [build / "bin" / "ctkhost", "--extension", build / "QELToken.appex", "list"]
    cards = {count: softcard(build, output / f"softcard-{count}", ["--key", "p256"] * count or ["--empty"], environment)
             for count in COUNTS}
    times = {count: [processor_seconds(command, cards[count]) for _ in range(rounds)] for count in COUNTS}
    for side, whose in enumerate(("host", "extension with SoftHSM2")):
        of = {count: statistics.median(run[side] for run in runs) for count, runs in times.items()}
        empty = of.pop(0)
        yield measure.row(f"{GROWTH}: {whose}", measure.exponent({count: of[count] - empty for count in of}), "exponent",
                          goals.EXPONENT if whose == "host" else None)


def softcard(build, folder, keys, environment):
    """A soft card in a reader, which is what ctkhost looks for. Returns the environment that points to it."""
    environment = {**environment, "QEL_SOFTCARD_DIR": str(folder)}
    if not (folder / "ready").exists():
        shutil.rmtree(folder, ignore_errors=True)
        for arguments in (["init", "bench", *keys, "--pin-file", "-"], ["insert", "bench"]):
            subprocess.run([build / "bin" / "softcard", *arguments], check=True, env=environment, input=PIN + "\n",
                           stdout=subprocess.DEVNULL, text=True)
        (folder / "ready").touch()
    return environment
