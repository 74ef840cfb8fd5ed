"""Makes a small QELToken.app that has no defect, without an SDK: images linked against stubs of the system's libraries."""

import pathlib
import plistlib
import re
import shutil
import subprocess

PROJECT = pathlib.Path(__file__).resolve().parents[2]
FRAMEWORKS = "/System/Library/Frameworks"
STUBS = {
    "objc": ("/usr/lib/libobjc.A.dylib", "_OBJC_CLASS_$_NSObject, _OBJC_METACLASS_$_NSObject, __objc_empty_cache, _objc_msgSend, "
             "___objc_personality_v0, _objc_exception_rethrow, _objc_begin_catch, _objc_end_catch, _objc_terminate"),
    "System": ("/usr/lib/libSystem.B.dylib", "dyld_stub_binder, _getpid, _sandbox_extension_consume, __Unwind_Resume"),
    "Foundation": (FRAMEWORKS + "/Foundation.framework/Versions/C/Foundation",
                   "_NSExtensionMain, _OBJC_CLASS_$_NSData, _OBJC_METACLASS_$_NSData"),
    "Private": ("/System/Library/PrivateFrameworks/Private.framework/Private", "_PrivateCall"),
}

SOURCES = {
    "token/QELTokenDriver.mm": "@implementation QELTokenDriver\n@end\n",
    "token/QELToken.mm": "@implementation QELToken\n@end\n",
    "token/QELToken+Slots.mm": "@implementation QELToken (Slots)\n@end\n",
    "token/NSData+QELAditions.mm": "@implementation NSData (QELAditions)\n@end\n",
}

BASE_CODE = """
__attribute__((objc_root_class)) @interface NSObject { Class isa; } @end
@interface NSData : NSObject @end
@interface QELTokenDriver : NSObject @end
@interface QELToken : NSObject @end
@interface NSData (QELAditions) - (int)length; @end
extern int getpid(void);
const char *path(void) { return "/Library/Preferences/com.qel.Tarnwell.ini"; }
const char version[] = "@(#)PROGRAM:QELToken  PROJECT:QELToken-1.0.0";
int twice(int a) { return 2 * a + getpid(); }
"""
DRIVER = "@implementation QELTokenDriver @end\n"
TOKEN = "@implementation QELToken @end\n"
CATEGORY = "@implementation NSData (QELAditions) - (int)length { return 1; } @end\n"
EXTENSION_CODE = BASE_CODE + DRIVER + TOKEN + CATEGORY
APP_CODE = "int main(void) { return 0; }\n"
LIBRARY_CODE = "int C_GetFunctionList(void **list) { return *list != 0; }\n"


def run(*command):
    done = subprocess.run([str(c) for c in command], capture_output=True, text=True, timeout=60)
    if done.returncode != 0:
        raise RuntimeError(f"{command[0]}: {done.stderr}")
    return done.stdout.strip()


def linker_folder():
    """Where a linker whose images macOS takes lies beside its tools."""
    for name in (run("clang", "-print-prog-name=ld64.lld"), "ld64.lld", *(f"ld64.lld-{v}" for v in range(29, 15, -1))):
        found = shutil.which(name)
        version = re.search(r"LLD (\d+)", run(found, "--version")) if found else None
        folder = pathlib.Path(found or "").resolve().parent
        if version and int(version.group(1)) >= 16 and (folder / "llvm-lipo").exists():
            return folder
    raise RuntimeError("no ld64.lld of version 16 or later; run script/bootstrap")


def configured(template, **values):
    text = (PROJECT / "bundle" / template).read_text()
    values = {"QEL_VENDOR_ID": "com.qel", "QEL_APP_ID": "com.qel.QELToken", "QEL_EXTENSION_ID": "com.qel.QELToken.Extension",
              "PROJECT_VERSION": "1.0.0", "QEL_MINIMUM_MACOS": "11.5", "QEL_AID_ENTRY": "", **values}
    for name, value in values.items():
        text = text.replace(f"@{name}@", value)
    return text


class Maker:
    """Compiles and links universal images in a work folder."""

    def __init__(self, folder):
        self.folder = pathlib.Path(folder)
        tools = linker_folder()
        self.linker, self.lipo = tools / "ld64.lld", tools / "llvm-lipo"
        self.strip, self.dsymutil = tools / "llvm-strip", tools / "dsymutil"
        (self.folder / "stubs").mkdir(parents=True)
        for name, (path, symbols) in STUBS.items():
            (self.folder / "stubs" / f"lib{name}.tbd").write_text(
                "--- !tapi-tbd\ntbd-version: 4\ntargets: [ x86_64-macos, arm64-macos ]\n"
                f"install-name: '{path}'\nexports:\n  - targets: [ x86_64-macos, arm64-macos ]\n    symbols: [ {symbols} ]\n...\n")
        (self.folder / "lipo").symlink_to(self.lipo)

    def image(self, output, code, entry="_NSExtensionMain", system="11.5", sdk="12.0", processors=("x86_64", "arm64"),
              libraries=(), rpaths=("@executable_path/../Frameworks",), exported="__mh_execute_header", dylib=False,
              stripped=True, symbols=None, signed=False):
        """Writes a universal image to `output`; with `symbols` its debug information there. `exported`: None for all."""
        parts = []
        for processor in processors:
            source, part = self.folder / "code.m", self.folder / f"{processor}.out"
            source.write_text(code)
            target = f"{processor}-apple-macos{system}"
            run("clang", f"--target={target}", "-fno-objc-arc", "-fexceptions", "-fobjc-exceptions",
                "-fobjc-runtime=macosx-11.5", "-g", "-c", source, f"-ffile-prefix-map={self.folder}=.", "-o", self.folder / "code.o")
            kind = ["-dylib", "-install_name", "@rpath/lib.dylib"] if dylib else ["-e", entry]
            if not dylib:
                kind += ["-exported_symbol", exported] if exported else []
                kind += [argument for path in rpaths for argument in ("-rpath", path)]
            run(self.linker, "-arch", processor, "-platform_version", "macos", system, sdk, *kind,
                "-L", self.folder / "stubs", "-lobjc", "-lSystem", "-lFoundation", *[f"-l{name}" for name in libraries],
                "-adhoc_codesign" if signed else "-no_adhoc_codesign", self.folder / "code.o", "-o", part)
            if symbols:
                folder = self.folder / f"{processor}.dSYM"
                run(self.dsymutil, "-o", folder, part)
                shutil.copy(folder / "Contents/Resources/DWARF" / part.name, self.folder / f"{processor}.dwarf")
            if stripped:
                run(self.strip, "-x", "-S", part)
            parts.append(part)
        output.parent.mkdir(parents=True, exist_ok=True)
        run(self.lipo, "-create", *parts, "-output", output)
        if symbols:
            symbols.parent.mkdir(parents=True, exist_ok=True)
            run(self.lipo, "-create", *[self.folder / f"{p}.dwarf" for p in processors], "-output", symbols)

    def bundle(self, code=EXTENSION_CODE):
        """A bundle without defects; returns the app's folder. The sources it claims to come from are in `sources`."""
        app = self.folder / "QELToken.app"
        extension = app / "Contents/PlugIns/QELToken.appex"
        self.image(extension / "Contents/MacOS/QELToken", code,
                   symbols=self.folder / "QELToken.appex.dSYM/Contents/Resources/DWARF/QELToken")
        self.image(app / "Contents/MacOS/QELToken", APP_CODE, entry="_main", rpaths=())
        self.image(extension / "Contents/Frameworks/libQELTarnwellPkcs11.dylib", LIBRARY_CODE, dylib=True)
        (app / "Contents/Info.plist").write_text(configured("App-Info.plist.in"))
        (extension / "Contents/Info.plist").write_text(configured("Extension-Info.plist.in"))
        (self.folder / "Extension.entitlements").write_text(configured("Extension.entitlements.in"))
        (self.folder / "App.entitlements").write_text(configured("App.entitlements"))
        for name, text in SOURCES.items():
            file = self.folder / "sources" / name
            file.parent.mkdir(parents=True, exist_ok=True)
            file.write_text(text)
        return app


def edit_plist(path, change):
    content = plistlib.loads(path.read_bytes())
    change(content)
    path.write_bytes(plistlib.dumps(content))
