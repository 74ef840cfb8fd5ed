"""The extension's settings while the benchmarks run: a folder of their own, and no token log."""

import re
import subprocess

LOG_LEVEL = re.compile(r"Pkcs11:LogLevelPkcs11 = (?P<level>.*) \((?P<origin>.*)\)")


def make_own(build, folder):
    """A folder in the place of /Library that holds the build's PIN dialog and no settings."""
    folder.mkdir(parents=True, exist_ok=True)
    frameworks = folder / "Frameworks"
    if not frameworks.is_symlink():
        frameworks.symlink_to(build / "Library" / "Frameworks")


def in_force(build, environment):
    """The lines that `ctkhost support` prints of the settings."""
    report = subprocess.run([build / "bin" / "ctkhost", "support"], check=True, env=environment, stdout=subprocess.PIPE,
                            stderr=subprocess.DEVNULL, text=True).stdout
    lines = report.split("\nSettings\n", 1)[1].split("\n\n", 1)[0].splitlines()
    return [line.strip() for line in lines]


def problem(lines):
    """Why nothing can be measured with these settings; None when it can. The token log costs many times what it tells of;
    its own benchmarks write theirs without the extension."""
    found = next(filter(None, map(LOG_LEVEL.fullmatch, lines)), None)
    if found is None:
        return "the settings in force are not known"
    if re.fullmatch(r"0*", found["level"]):
        return None
    return f"the token log is on: {found['origin']} has LogLevelPkcs11 = {found['level']}; take it out"
