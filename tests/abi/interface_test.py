#!/usr/bin/env python3
"""What interface.py says when the interface changes.

    interface_test.py RECORD COMPILER SOURCE HEADER_FOLDER...

RECORD as FOLDER for interface.py; SOURCE and its headers are compiled to what interface.py takes its types from.
"""

import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

INTERFACE = pathlib.Path(__file__).with_name("interface.py")
RECORD, COMPILER, SOURCE, *HEADER_FOLDERS = sys.argv[1:]


class Change(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        for index, headers in enumerate(HEADER_FOLDERS):
            shutil.copytree(headers, self.folder / str(index))

    def replace(self, header, before, after):
        changed = next(self.folder.glob(f"*/{header}"))
        text = changed.read_text()
        self.assertEqual(text.count(before), 1, f"{header} has another text")
        changed.write_text(text.replace(before, after))

    def compile(self, source):
        library = self.folder / f"{pathlib.Path(source).stem}.so"
        includes = [f"-I{self.folder / str(index)}" for index in range(len(HEADER_FOLDERS))]
        subprocess.run([COMPILER, "-std=c++20", "-g", "-femit-class-debug-always", "-fPIC", "-shared", *includes,
                        source, "-o", library], check=True)
        return library

    def compile_text(self, text, name):
        source = self.folder / f"{name}.cpp"
        source.write_text(text)
        return self.compile(source)

    def check(self, record, library, types):
        result = subprocess.run([sys.executable, INTERFACE, "check", record, library, types], stderr=subprocess.PIPE,
                                text=True)
        return result.returncode, result.stderr

    def test_is_named_with_the_way_to_renew_the_record(self):
        self.replace("zuv_media_proxy.h", "    virtual void stop() = 0;",
                     "    virtual void rewind() = 0;\n    virtual void stop() = 0;")
        self.replace("zuv_media_proxy_object.h", "    int32_t m_state;", "    void* m_new;\n    int32_t m_state;")
        types = self.compile(SOURCE)
        status, said = self.check(RECORD, types, types)
        self.assertEqual(status, 1)
        for sentence in (
            "recorded: symbol requestZUVMediaProxy (global func)",
            "recorded: class ZUVMediaProxyInterface: slot 6 is stop() -> void",
            "now:      class ZUVMediaProxyInterface: slot 6 is rewind() -> void",
            "now:      class ZUVMediaProxyObject: field m_new at 8",
            "recorded: class ZUVMediaProxyObject: 232 bytes",
            # Newer versions of abidiff write "(void)".
            "[D] 'function velmora::ZUVMediaProxyManagerInterface* requestZUVMediaProxy(",
            "--target renew-interface",
        ):
            self.assertIn(sentence, said)

    def test_of_results_and_of_the_log_is_named(self):
        self.replace("zuv_model_access.h", "virtual int startService() = 0;", "virtual bool startService() = 0;")
        self.replace("zuv_model_access.h", "int startService() override;", "bool startService() override;")
        self.replace("csp_debug.h", "blog_base_name(const char* path)", "blog_base_name(const char* path, int depth)")
        types = self.compile(SOURCE)
        said = self.check(RECORD, types, types)[1]
        for sentence in (
            "recorded: class IZuvModelAccess: slot 4 is startService() -> int",
            "now:      class IZuvModelAccess: slot 4 is startService() -> bool",
            "recorded: function blog_base_name(char const*) -> char const*",
            "now:      function blog_base_name(char const*, int) -> char const*",
        ):
            self.assertIn(sentence, said)

    def test_by_any_further_symbol_is_named(self):
        text = 'struct LogFunctions {};\nextern "C" void requestZUV(LogFunctions*) {}\n'
        library = self.compile_text(text, "library")
        more = self.compile_text(text + 'extern "C" void foo() {}\n'
                                        'struct Foo { void foo() const; };\nvoid Foo::foo() const {}\n'
                                        'namespace std { void foo() {} }\n', "more")
        record = self.folder / "record"
        subprocess.run([sys.executable, INTERFACE, "renew", record, library, library], check=True)
        self.assertEqual(self.check(record, library, library), (0, ""))
        status, said = self.check(record, more, library)
        self.assertEqual(status, 1)
        self.assertEqual([line for line in said.splitlines() if line.startswith(("recorded:", "now:"))],
                         ["now:      symbol _ZNK3Foo3fooEv (global func)",
                          "now:      symbol _ZSt3foov (global func)",
                          "now:      symbol foo (global func)"])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
