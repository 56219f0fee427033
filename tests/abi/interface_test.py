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

    def compile(self):
        types = self.folder / "types.so"
        includes = [f"-I{self.folder / str(index)}" for index in range(len(HEADER_FOLDERS))]
        subprocess.run([COMPILER, "-std=c++20", "-g", "-femit-class-debug-always", "-fPIC", "-shared", *includes,
                        SOURCE, "-o", types], check=True)
        return types

    def test_is_named_with_the_way_to_renew_the_record(self):
        self.replace("zuv_media_proxy.h", "    virtual void stop() = 0;",
                     "    virtual void rewind() = 0;\n    virtual void stop() = 0;")
        self.replace("zuv_media_proxy_object.h", "    int32_t m_state;", "    void* m_new;\n    int32_t m_state;")
        types = self.compile()
        result = subprocess.run([sys.executable, INTERFACE, "check", RECORD, types, types], stderr=subprocess.PIPE,
                                text=True)
        self.assertEqual(result.returncode, 1)
        for sentence in (
            "recorded: symbol requestZUVMediaProxy (global func)",
            "recorded: class ZUVMediaProxyInterface: slot 6 is stop()",
            "now:      class ZUVMediaProxyInterface: slot 6 is rewind()",
            "now:      class ZUVMediaProxyObject: field m_new at 8",
            "recorded: class ZUVMediaProxyObject: 232 bytes",
            "[D] 'function velmora::ZUVMediaProxyManagerInterface* requestZUVMediaProxy()'",
            "--target renew-interface",
        ):
            self.assertIn(sentence, result.stderr)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
