"""What must hold of QELToken.app. Each check yields one line per defect."""

import pathlib
import plistlib
import re

import macho
from image_checks import image_defects

EXTENSION_POINT = "com.apple.ctk-tokens"
PROCESSORS = {"x86_64", "arm64"}
MINIMUM_SYSTEM = "11.5"
MAKERS_LIBRARY = "libQELTarnwellPkcs11.dylib"
RUNTIME_FLAG, AD_HOC_FLAG = 0x10000, 0x2

_SANDBOX = "com.apple.security."
_ABSOLUTE = _SANDBOX + "temporary-exception.files.absolute-path.read-only"
_HOME = _SANDBOX + "temporary-exception.files.home-relative-path.read-only"
_ADDED_BY_SIGNING = {"com.apple.application-identifier", "com.apple.developer.team-identifier"}


def expected_entitlements(vendor):
    return {
        _SANDBOX + "app-sandbox": True,
        _SANDBOX + "smartcard": True,
        _ABSOLUTE: ["/Library/Frameworks/QELPINDialog.framework/", f"/Library/Preferences/{vendor}.Tarnwell.ini",
                    "/usr/local/lib/pkcs11/" + MAKERS_LIBRARY],
        _HOME: ["/Library/Preferences/Tarnwell.ini"],
    }


class Piece:
    """One bundle of the two: its folder, property list and executable, as far as they can be read."""

    def __init__(self, folder, label):
        self.folder, self.label, self.defects = pathlib.Path(folder), label, []
        self.plist, self.images = {}, {}
        listing = self.folder / "Contents" / "Info.plist"
        try:
            self.plist = plistlib.loads(listing.read_bytes())
        except FileNotFoundError:
            self.defects.append(f"{label}: Contents/Info.plist is missing")
        except Exception as damage:  # plistlib reports damage with whatever its parser raises
            self.defects.append(f"{label}: Contents/Info.plist is no property list ({damage})")
        self.executable = self.folder / "Contents" / "MacOS" / "QELToken"
        try:
            self.images = macho.read(self.executable)
        except FileNotFoundError:
            self.defects.append(f"{label}: Contents/MacOS/QELToken is missing")
        except macho.NotMachO as reason:
            self.defects.append(f"{label}: Contents/MacOS/QELToken: {reason}")

    @property
    def signed(self):
        return any(image.signed for image in self.images.values())


def plist_defects(piece, package_type):
    if not piece.plist:
        return
    expected = {
        "CFBundleExecutable": "QELToken", "CFBundlePackageType": package_type, "CFBundleInfoDictionaryVersion": "6.0",
        "LSMinimumSystemVersion": MINIMUM_SYSTEM, "CFBundleSupportedPlatforms": ["MacOSX"],
    }
    for key, value in expected.items():
        if piece.plist.get(key) != value:
            yield f"{piece.label}: Info.plist: {key} is {piece.plist.get(key)!r}, not {value!r}"
    if not re.fullmatch(r"[A-Za-z0-9-]+(\.[A-Za-z0-9-]+)+", str(piece.plist.get("CFBundleIdentifier"))):
        yield f"{piece.label}: Info.plist: CFBundleIdentifier {piece.plist.get('CFBundleIdentifier')!r} is no identifier"
    for key in ("CFBundleVersion", "CFBundleShortVersionString"):
        if not re.fullmatch(r"\d+(\.\d+){0,2}", str(piece.plist.get(key))):
            yield f"{piece.label}: Info.plist: {key} {piece.plist.get(key)!r} is no version of one to three numbers"


def extension_plist_defects(app, extension):
    if not extension.plist:
        return
    label = f"{extension.label}: Info.plist"
    declared = extension.plist.get("NSExtension", {})
    attributes = declared.get("NSExtensionAttributes", {})
    if declared.get("NSExtensionPointIdentifier") != EXTENSION_POINT:
        yield f"{label}: the extension point is {declared.get('NSExtensionPointIdentifier')!r}, not {EXTENSION_POINT!r}"
    if "NSExtensionPrincipalClass" in declared:
        yield f"{label}: NSExtensionPrincipalClass has no meaning for tokens; the driver class is the entry"
    driver = attributes.get("com.apple.ctk.driver-class")
    for processor, image in extension.images.items():
        if driver not in image.classes:
            yield f"{label}: the driver class {driver!r} is not in the {processor} executable"
        if f"PROJECT:QELToken-{extension.plist.get('CFBundleShortVersionString')}\0".encode() not in image.data:
            yield f"{label}: the {processor} executable is of another version"
    if attributes.get("com.apple.ctk.class-id") != extension.plist.get("CFBundleIdentifier"):
        yield f"{label}: com.apple.ctk.class-id {attributes.get('com.apple.ctk.class-id')!r} is not the bundle identifier"
    if attributes.get("com.apple.ctk.token-type") != "smartcard":
        yield f"{label}: com.apple.ctk.token-type is {attributes.get('com.apple.ctk.token-type')!r}, not 'smartcard'"
    aids = attributes.get("com.apple.ctk.aid", [])
    if not isinstance(aids, list) or not all(re.fullmatch(r"([0-9A-F]{2}){5,16}", str(a)) for a in aids):
        yield f"{label}: com.apple.ctk.aid {aids!r} is no list of application identifiers of 5 to 16 bytes"
    if app.plist:
        identifier, container = str(extension.plist.get("CFBundleIdentifier")), str(app.plist.get("CFBundleIdentifier"))
        if not identifier.startswith(container + "."):
            yield f"{label}: the identifier {identifier} does not begin with the app's, {container}, and a dot"
        for key in ("CFBundleVersion", "CFBundleShortVersionString"):
            if extension.plist.get(key) != app.plist.get(key):
                yield f"{label}: {key} {extension.plist.get(key)!r} differs from the app's {app.plist.get(key)!r}"


def _entitlement_sets(piece, beside):
    """(where from, entitlements) of each processor's signature, or of the file to sign with."""
    if piece.signed:
        for processor, image in piece.images.items():
            yield f"{piece.label}: signature of {processor}", image.entitlements or {}
    elif beside.exists():
        try:
            yield f"{beside.name}", plistlib.loads(beside.read_bytes())
        except Exception as damage:
            yield f"{beside.name}: no property list ({damage})", None
    else:
        yield f"{piece.label}: unsigned, and {beside.name} is not beside the app", None


def _extension_entitlement_defects(where, found, images):
    absolute = found.get(_ABSOLUTE)
    files = [str(p) for p in absolute] if isinstance(absolute, list) else []
    vendor = next((m.group(1) for p in files if (m := re.fullmatch(r"/Library/Preferences/(.+)\.Tarnwell\.ini", p))), "")
    expected = expected_entitlements(vendor)
    for key in sorted(expected.keys() | found.keys() - _ADDED_BY_SIGNING):
        if key not in found:
            yield f"{where}: {key} is missing"
        elif key not in expected:
            yield f"{where}: {key} must not be there"
        elif found[key] != expected[key]:
            yield f"{where}: {key} is {found[key]!r}, not {expected[key]!r}"
    for processor, image in images.items():
        if vendor and f"/Preferences/{vendor}.Tarnwell.ini".encode() not in image.data:
            yield f"{where}: grants {vendor}.Tarnwell.ini, which the {processor} executable does not read"


def _app_entitlement_defects(where, found):
    if found.keys() - _ADDED_BY_SIGNING != {_SANDBOX + "smartcard"} or found[_SANDBOX + "smartcard"] is not True:
        yield f"{where}: the app needs com.apple.security.smartcard and nothing else, found {', '.join(sorted(found)) or 'none'}"


def entitlement_defects(app, extension):
    for where, found in _entitlement_sets(extension, app.folder.parent / "Extension.entitlements"):
        yield from [where] if found is None else _extension_entitlement_defects(where, found, extension.images)
    for where, found in _entitlement_sets(app, app.folder.parent / "App.entitlements"):
        yield from [where] if found is None else _app_entitlement_defects(where, found)


def signature_defects(app, extension):
    if app.signed != extension.signed:
        yield "the app and the extension must both be signed or both unsigned"
    for piece in (app, extension):
        for processor, image in piece.images.items():
            if image.signed and not image.signature_flags & (RUNTIME_FLAG | AD_HOC_FLAG):
                yield f"{piece.label}: {processor} is signed without the hardened runtime"


def _numbers(version):
    return [int(n) for n in version.split(".")]


def makers_library_defects(extension, required):
    frameworks = extension.folder / "Contents" / "Frameworks"
    library = frameworks / MAKERS_LIBRARY
    for other in sorted(frameworks.iterdir()) if frameworks.is_dir() else ():
        if other.name != MAKERS_LIBRARY:
            yield f"{extension.label}: Contents/Frameworks holds {other.name}; only {MAKERS_LIBRARY} has its place there"
    if not library.exists():
        if required:
            yield f"{extension.label}: Contents/Frameworks/{MAKERS_LIBRARY} is missing; build with -DQEL_PKCS11_LIBRARY=FILE"
        return
    try:
        images = macho.read(library)
    except macho.NotMachO as reason:
        yield f"{MAKERS_LIBRARY}: {reason}"
        return
    for processor in sorted(PROCESSORS - images.keys()):
        yield f"{MAKERS_LIBRARY}: no code for {processor}"
    for processor, image in images.items():
        if image.kind != macho.MH_DYLIB:
            yield f"{MAKERS_LIBRARY}: {processor} is no dynamic library"
        if not any(s.name == "_C_GetFunctionList" and not s.undefined for s in image.symbols):
            yield f"{MAKERS_LIBRARY}: {processor} does not export C_GetFunctionList"
        if image.minimum_system is None or _numbers(image.minimum_system) > _numbers(MINIMUM_SYSTEM):
            yield f"{MAKERS_LIBRARY}: {processor} needs system {image.minimum_system}, the extension runs on {MINIMUM_SYSTEM}"


def symbol_file_defects(app, extension):
    folder = app.folder.parent / "QELToken.appex.dSYM" / "Contents" / "Resources" / "DWARF"
    try:
        symbols = macho.read(folder / "QELToken")
    except FileNotFoundError:
        yield "QELToken.appex.dSYM is not beside the app"
        return
    except macho.NotMachO as reason:
        yield f"QELToken.appex.dSYM: {reason}"
        return
    for processor, image in extension.images.items():
        other = symbols.get(processor)
        if other is None or other.uuid != image.uuid:
            yield f"QELToken.appex.dSYM: not the symbols of the {processor} executable"
        elif not any(s.segment == "__DWARF" and s.size for s in other.sections):
            yield f"QELToken.appex.dSYM: no debug information for {processor}"


_CONTENTS = {"Info.plist", "PkgInfo", "MacOS", "PlugIns", "Frameworks", "Resources", "_CodeSignature",
             "embedded.provisionprofile", "CodeResources"}


def layout_defects(piece):
    if not piece.folder.is_dir():
        yield f"{piece.label}: {piece.folder.name} is missing"
        return
    for entry in sorted(piece.folder.rglob("*")):
        inside = entry.relative_to(piece.folder)
        if entry.is_symlink():
            yield f"{piece.label}: {inside} is a symbolic link"
        elif len(inside.parts) == 2 and inside.parts[0] == "Contents" and inside.name not in _CONTENTS:
            yield f"{piece.label}: {inside} does not belong in the bundle"
        elif inside.parts[:2] == ("Contents", "MacOS") and len(inside.parts) == 3 and inside.name != "QELToken":
            yield f"{piece.label}: {inside} does not belong in the bundle"
    if piece.executable.exists() and piece.executable.stat().st_mode & 0o111 == 0:
        yield f"{piece.label}: Contents/MacOS/QELToken is not executable"


def all_defects(folder, sources, complete, sdk):
    """Every defect of the app in `folder`, built from the tree `sources`; `complete`: ready to be signed; `sdk` or None."""
    app = Piece(folder, "app")
    extension = Piece(pathlib.Path(folder) / "Contents" / "PlugIns" / "QELToken.appex", "extension")
    for piece, package_type in ((app, "APPL"), (extension, "XPC!")):
        yield from layout_defects(piece)
        yield from piece.defects
        yield from plist_defects(piece, package_type)
        yield from image_defects(piece, sources, PROCESSORS, MINIMUM_SYSTEM, sdk)
    yield from extension_plist_defects(app, extension)
    yield from entitlement_defects(app, extension)
    yield from signature_defects(app, extension)
    yield from makers_library_defects(extension, complete)
    yield from symbol_file_defects(app, extension)
