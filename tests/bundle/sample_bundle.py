"""Makes a small QELToken.app that has no defect, without an SDK: images linked against stubs of the system's libraries."""

import pathlib
import plistlib
import shutil
import subprocess

PROJECT = pathlib.Path(__file__).resolve().parents[2]
FRAMEWORKS = "/System/Library/Frameworks"
STUBS = {
    "objc": ("/usr/lib/libobjc.A.dylib", "_OBJC_CLASS_$_NSObject, _OBJC_METACLASS_$_NSObject, __objc_empty_cache, _objc_msgSend"),
    "System": ("/usr/lib/libSystem.B.dylib", "dyld_stub_binder, _getpid, _sandbox_extension_consume"),
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


def tool(name):
    return run("clang", f"-print-prog-name={name}")


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
        self.linker, self.lipo = tool("ld64.lld"), tool("llvm-lipo")
        self.strip, self.dsymutil = tool("llvm-strip"), tool("dsymutil")
        (self.folder / "stubs").mkdir(parents=True)
        for name, (path, symbols) in STUBS.items():
            (self.folder / "stubs" / f"lib{name}.tbd").write_text(
                "--- !tapi-tbd\ntbd-version: 4\ntargets: [ x86_64-macos, arm64-macos ]\n"
                f"install-name: '{path}'\nexports:\n  - targets: [ x86_64-macos, arm64-macos ]\n    symbols: [ {symbols} ]\n...\n")
        (self.folder / "lipo").symlink_to(self.lipo)

    def image(self, output, code, entry="_NSExtensionMain", system="11.5", processors=("x86_64", "arm64"), libraries=(),
              dylib=False, stripped=True, symbols=None, signed=False):
        """Writes a universal image to `output`; with `symbols` its debug information there."""
        parts = []
        for processor in processors:
            source, part = self.folder / "code.m", self.folder / f"{processor}.out"
            source.write_text(code)
            target = f"{processor}-apple-macos{system}"
            run("clang", f"--target={target}", "-fno-objc-arc", "-fobjc-runtime=macosx-11.5", "-g", "-c", source,
                f"-ffile-prefix-map={self.folder}=.", "-o", self.folder / "code.o")
            kind = ["-dylib", "-install_name", "@rpath/lib.dylib"] if dylib else ["-e", entry]
            run(self.linker, "-arch", processor, "-platform_version", "macos", system, "12.0", *kind,
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
        self.image(app / "Contents/MacOS/QELToken", APP_CODE, entry="_main")
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
