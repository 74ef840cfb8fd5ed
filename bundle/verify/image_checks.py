"""What must hold of the two executables: processors, entry, what they import, what they register, what they reveal."""

import fnmatch
import functools
import pathlib
import re

import macho
from unwind import unwind_defects

HERE = pathlib.Path(__file__).resolve().parent
BUILD_PATH = re.compile(rb"(?<![\w.])/(?:Users|home|root|tmp|private|var/folders|build|builds|work|workspace|mnt|srv|runner|"
                        rb"Applications/Xcode)[\w.-]*/[^\0\n]{0,80}")


def allowed_imports():
    """{library: patterns of symbols} from imports.txt: what a public header declares and an extension may call."""
    allowed, library = {}, None
    for line in (HERE / "imports.txt").read_text().splitlines():
        line = re.sub(r"(^|\s)#.*", "", line).rstrip()
        if line and not line.startswith(" "):
            library = line
            allowed[library] = []
        elif line:
            allowed[library] += line.split()
    return allowed


@functools.lru_cache(maxsize=None)
def publicly_declared(symbol, library, sdk):
    """Whether a public header of the SDK names the symbol: the framework's headers, or usr/include for the C libraries."""
    framework = re.match(r"/System/Library/Frameworks/\w+\.framework", library)
    folder = pathlib.Path(str(sdk) + framework.group(0), "Headers") if framework else pathlib.Path(sdk, "usr/include")
    name = re.sub(r"^_(OBJC_(META)?CLASS_\$_)?", "", symbol)
    word = re.compile(rb"\b" + re.escape(name.encode()) + rb"\b")
    return any(word.search(header.read_bytes()) for header in sorted(folder.rglob("*.h")) if header.is_file())


def registered_names(sources):
    """Classes that the product implements, and its categories on the system's classes.

    Linkers may merge a category on a class of the same image into the class, so those are not looked for.
    """
    classes, categories = set(), []
    for folder in ("util", "log", "settings", "pkcs11", "token"):
        for file in sorted(sources.glob(f"{folder}/*.mm")) + sorted(sources.glob(f"{folder}/*.m")):
            for name, category in re.findall(r"(?m)^@implementation\s+(\w+)\s*(?:\(\s*(\w+)\s*\))?", file.read_text()):
                if category:
                    categories.append((name, category))
                else:
                    classes.add(name)
    return classes, {category for name, category in categories if name not in classes}


def _import_defects(where, image, app, allowed, sdk):
    for library in image.libraries:
        if library not in allowed:
            yield f"{where}: links {library}; only the system's libraries in bundle/verify/imports.txt are linked"
    for symbol, library in image.imports():
        if library is None:
            yield f"{where}: {symbol} is looked up in every library instead of one"
        elif library in allowed and not any(fnmatch.fnmatchcase(symbol, p) for p in allowed[library]) and \
                not (sdk and publicly_declared(symbol, library, sdk)):
            yield f"{where}: imports {symbol}, which bundle/verify/imports.txt does not list as public"
    for selector in sorted(image.selectors):
        if selector.startswith("_"):
            yield f"{where}: uses the private selector {selector}"
    if not app and any("AppKit" in library for library in image.libraries):
        yield f"{where}: links AppKit, which has no place in a token extension"


def _kind_defects(where, image, app, minimum_system):
    if image.kind != macho.MH_EXECUTE:
        yield f"{where}: file type {image.kind}, not an executable"
    if image.platform != macho.PLATFORM_MACOS:
        yield f"{where}: platform {image.platform}, not macOS"
    if image.minimum_system != minimum_system:
        yield f"{where}: minimum system {image.minimum_system}, not {minimum_system}"
    if not app and image.entry_symbol != "_NSExtensionMain":
        yield f"{where}: the entry is {image.entry_symbol or 'code of its own'}, not NSExtensionMain"


_EXPORTED = {"__mh_execute_header"}
_OLDEST_SDK = (11, 3)
_RPATHS = {True: [], False: ["@executable_path/../Frameworks"]}  # of the app; of the extension


def _loading_defects(where, image, app):
    """What the system's loader minds, or what would let others' code in."""
    for segment in image.segments:
        if segment.name == "__DATA_CONST" and not segment.flags & macho.SG_READ_ONLY:
            yield f"{where}: __DATA_CONST lacks SG_READ_ONLY, and newer systems refuse the image; link with lld 16 or later"
        if segment.protection & macho.WRITABLE and segment.protection & macho.EXECUTABLE:
            yield f"{where}: {segment.name} is both writable and executable"
    if not image.flags & macho.MH_PIE:
        yield f"{where}: not position-independent"
    if image.sdk is None or tuple(int(n) for n in image.sdk.split(".")) < _OLDEST_SDK:
        yield f"{where}: linked against SDK {image.sdk}, older than {'.'.join(map(str, _OLDEST_SDK))}"
    if image.rpaths != _RPATHS[app]:
        yield f"{where}: libraries are looked for in {image.rpaths}, not {_RPATHS[app]}"
    exported = {s.name for s in image.symbols if s.exported} - _EXPORTED
    weak = {s.name for s in image.symbols if s.exported and s.weak}
    if exported:
        yield f"{where}: exports {len(exported)} symbols, {len(weak)} of them weak, such as {min(weak or exported)}"
    if image.flags & macho.MH_WEAK_DEFINES:
        yield f"{where}: offers weak symbols, which the loader merges with those of the maker's library"


def _revealing_defects(where, image, sources):
    for found in sorted({m.group(0) for m in BUILD_PATH.finditer(image.data)}):
        yield f"{where}: contains the path {found.decode('utf-8', 'replace')}"
    if str(sources).encode() + b"/" in image.data:
        yield f"{where}: contains the path of its sources"
    debugging = sum(s.debugging for s in image.symbols)
    local = sum(s.local for s in image.symbols)
    if debugging or local or any(s.segment == "__DWARF" for s in image.sections):
        yield f"{where}: not stripped, {debugging} debugging and {local} local symbols"


def _first_few(defects, limit=3):
    """A linker that errs does so a thousand times."""
    defects = list(defects)
    yield from defects[:limit]
    if len(defects) > limit:
        yield f"{len(defects) - limit} more defects of unwinding"


def image_defects(piece, sources, processors, minimum_system, sdk):
    """The defects of one bundle's executable. Yields nothing more when it cannot be read at all."""
    if not piece.images:
        return
    app = piece.label == "app"
    allowed = allowed_imports()
    for processor in sorted(processors - piece.images.keys()):
        yield f"{piece.label}: no code for {processor}"
    for processor in sorted(piece.images.keys() - processors):
        yield f"{piece.label}: code for {processor}, which is not supported"
    classes, categories = registered_names(sources)
    if not app and not classes:
        yield f"no classes found in the sources at {sources}"
    for processor, image in sorted(piece.images.items()):
        where = f"{piece.label}: {processor}"
        yield from _kind_defects(where, image, app, minimum_system)
        yield from _loading_defects(where, image, app)
        yield from (f"{where}: {defect}" for defect in _first_few(unwind_defects(image)))
        yield from _import_defects(where, image, app, allowed, sdk)
        yield from _revealing_defects(where, image, sources)
        if not app:
            for name in sorted(classes - image.classes):
                yield f"{where}: the class {name} is missing"
            for name in sorted(categories - image.categories):
                yield f"{where}: the category {name} is missing"
