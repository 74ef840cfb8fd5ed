"""Whole commands beside each other, by the wall clock: start, login, one signature, end."""

import pathlib
import shutil
import statistics
import subprocess
import time

import measure

PIN = "benchmark-pin"
WHATS = {"sign": "ctkhost sign, RSA-2048, from start to end", "list": "ctkhost list, from start to end"}


def seconds(command, environment):
    start = time.perf_counter()
    done = subprocess.run(command, env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
    if done.returncode != 0:
        raise SystemExit(f"script/bench: {command[0]} failed: {done.stderr}")
    return time.perf_counter() - start


def rows(text, rounds, build, output, environment):
    if not any(text in what for what in WHATS.values()):
        return
    cards = softcard(build, output, environment)
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


def softcard(build, output, environment):
    """A soft card in a reader, which is what ctkhost looks for. Returns the environment that points to it."""
    folder = pathlib.Path(output) / "softcard"
    environment = {**environment, "QEL_SOFTCARD_DIR": str(folder)}
    if not (folder / "ready").exists():
        shutil.rmtree(folder, ignore_errors=True)
        for arguments in (["init", "bench", "--pin-file", "-"], ["insert", "bench"]):
            subprocess.run([build / "bin" / "softcard", *arguments], check=True, env=environment, input=PIN + "\n",
                           stdout=subprocess.DEVNULL, text=True)
        (folder / "ready").touch()
    return environment
