#!/usr/bin/env python3
"""Checks what administrators install against the documented keys: profiles_check.py ROOT. Prints a line per defect."""

import configparser
import pathlib
import plistlib
import re
import sys

SMARTCARD = "com.apple.security.smartcard"
# Apple's table of the payload's keys: type, allowed values.
KEYS = {
    "UserPairing": (bool, None), "allowSmartCard": (bool, None), "oneCardPerUser": (bool, None),
    "enforceSmartCard": (bool, None), "checkCertificateTrust": (int, range(4)), "tokenRemovalAction": (int, range(2)),
}
COMMON = {"PayloadType": str, "PayloadIdentifier": str, "PayloadUUID": str, "PayloadVersion": int}
OUTER = {**COMMON, "PayloadContent": list, "PayloadScope": str, "PayloadDisplayName": str, "PayloadDescription": str}
UUID = re.compile(r"[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}")
MAPPING_FIELDS = {"Common Name", "RFC 822 Name", "NT Principal Name", "Organization", "OrganizationalUnit:1",
                  "OrganizationalUnit:2"}


def frame_defects(level, content, expected):
    for key, kind in expected.items():
        if type(content.get(key)) is not kind:
            yield f"{level}: {key} is {content.get(key)!r}, not {kind.__name__}"
    if not UUID.fullmatch(str(content.get("PayloadUUID"))):
        yield f"{level}: PayloadUUID {content.get('PayloadUUID')!r} is no UUID"
    if content.get("PayloadVersion") != 1:
        yield f"{level}: PayloadVersion is not 1"


def payload_defects(payload):
    yield from frame_defects("payload", payload, COMMON)
    if payload.get("PayloadType") != SMARTCARD:
        yield f"payload: type {payload.get('PayloadType')!r}"
    for key in sorted(payload.keys() - COMMON.keys()):
        kind, values = KEYS.get(key, (None, None))
        if kind is None:
            yield f"payload: {key} is no documented key"
        elif type(payload[key]) is not kind or (values is not None and payload[key] not in values):
            yield f"payload: {key} is {payload[key]!r}"
    if payload.get("enforceSmartCard") and payload.get("UserPairing", True):
        yield "payload: cards are enforced while users may still pair"


def profile_defects(profile):
    yield from frame_defects("profile", profile, OUTER)
    for key in sorted(profile.keys() - OUTER.keys()):
        yield f"profile: {key} is not expected"
    if profile.get("PayloadType") != "Configuration" or profile.get("PayloadScope") != "System":
        yield "profile: not a configuration of the whole system"
    payloads = profile.get("PayloadContent") or [{}]
    if len(payloads) != 1:
        yield f"profile: {len(payloads)} payloads; the system takes one of this type"
    for payload in payloads:
        yield from payload_defects(payload)


def mapping_defects(content):
    mapping = content.get("AttributeMapping", {})
    if content.keys() - {"AttributeMapping", "TrustedAuthorities", "NotEnforcedGroup"}:
        yield f"unknown keys {sorted(content)}"
    if mapping.keys() != {"fields", "formatString", "dsAttributeString"}:
        yield f"AttributeMapping has the keys {sorted(mapping)}"
    fields = mapping.get("fields", [])
    if not fields or not set(fields) <= MAPPING_FIELDS:
        yield f"fields are {fields!r}"
    if set(re.findall(r"\$(\d)", mapping.get("formatString", ""))) != {str(n + 1) for n in range(len(fields))}:
        yield f"formatString {mapping.get('formatString')!r} does not use each field"


def settings_defects(text, known):
    settings = configparser.ConfigParser()
    settings.optionxform = str
    settings.read_string(text)
    found = {f"{section}:{key}" for section in settings.sections() for key in settings[section]}
    if not found or not found <= known:
        yield f"settings {sorted(found)}; the extension reads {sorted(known)}"


def defects(root):
    folder = root / "bundle" / "profiles"
    profiles = {p.name: plistlib.loads(p.read_bytes()) for p in sorted(folder.glob("*.mobileconfig"))}
    for name, profile in profiles.items():
        yield from (f"{name}: {defect}" for defect in profile_defects(profile))
    uuids = [c["PayloadUUID"] for p in profiles.values() for c in (p, *p["PayloadContent"])]
    if len(profiles) < 2 or len(set(uuids)) != len(uuids):
        yield "profiles are missing or share a UUID"
    if len({p["PayloadIdentifier"] for p in profiles.values()}) != 1:
        yield "the profiles do not replace each other: their PayloadIdentifier differs"
    mapping = plistlib.loads((folder / "SmartcardLogin.plist").read_bytes())
    yield from (f"SmartcardLogin.plist: {defect}" for defect in mapping_defects(mapping))
    sources = "".join(p.read_text() for p in (root / "settings").iterdir())
    known = set(re.findall(r'"([A-Z]\w+:[A-Z]\w+)"', sources))
    for file in folder.glob("*.ini"):
        yield from (f"{file.name}: {defect}" for defect in settings_defects(file.read_text(), known))
    page = (root / "docs" / "deployment.md").read_text()
    for file in sorted(folder.iterdir()):
        if file.name not in page:
            yield f"docs/deployment.md does not tell of {file.name}"


if __name__ == "__main__":
    found = list(defects(pathlib.Path(sys.argv[1])))
    for defect in found:
        print(defect)
    sys.exit(1 if found else 0)
