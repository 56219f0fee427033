"""Copies of the checkout in which changes are made and client_test is built."""

import filecmp
import pathlib
import re
import shlex
import shutil
import subprocess
import sys

CHECKOUT = pathlib.Path(__file__).resolve().parents[2]
PRECOMPILE = pathlib.Path(__file__).with_name("precompile_headers.cmake")


def run(*command, **options):
    """Runs a command that must succeed, and returns what it puts out."""
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, **options)
    if result.returncode != 0:
        sys.exit(f"mutate: {shlex.join(map(str, command))} failed:\n{result.stdout}")
    return result.stdout


class Copy:
    """One copy of the checkout with its build. An earlier run's is brought up to date."""

    def __init__(self, folder):
        self.checkout = folder / "checkout"
        self.build = folder / "build"
        self.sources = self.checkout / "client" / "src"
        self.program = self.build / "tests" / "client" / "client_test"

    def configure(self):
        self._synchronise()
        linker = ["-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld"] if shutil.which("ld.lld") else []  # several times as fast
        run("cmake", "-S", self.checkout, "-B", self.build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
            "-DCMAKE_CXX_FLAGS_DEBUG=-O0 -w", f"-DCMAKE_PROJECT_INCLUDE={PRECOMPILE}", *linker)

    def _synchronise(self):
        """Only what differs is written, so that only that is built anew."""
        listed = run("git", "ls-files", "-z", "--cached", "--others", "--exclude-standard", cwd=CHECKOUT).split("\0")
        wanted = {self.checkout / name: CHECKOUT / name for name in listed if (CHECKOUT / name).is_file()}
        for path in self.checkout.rglob("*"):
            if path.is_file() and path not in wanted:
                path.unlink()
        for path, original in wanted.items():
            if not path.exists() or not filecmp.cmp(original, path, shallow=False):
                path.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(original, path)

    def refused(self):
        """Builds client_test. The object that the compiler refused, or the program if the linker did; "" if neither."""
        # The client first: what its own code refuses is no test's doing.
        for target in ("zuv_media_proxy_objects", "client_test"):
            command = ["ninja", "-C", self.build, "-j", "1", target]
            result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
            if result.returncode != 0:
                if not re.search("error: |undefined reference|undefined symbol", result.stdout):
                    raise RuntimeError(result.stdout)
                return re.search(r"^FAILED: (\S+)", result.stdout, re.MULTILINE)[1]
        return ""

    def refused_with(self, mutant):
        """The same with one change, which the source keeps until restore()."""
        self._write(mutant.source, mutant.text)
        return self.refused()

    def restore(self, mutant):
        self._write(mutant.source, mutant.source.text)

    def _write(self, source, text):
        (self.sources / source.name).write_text(text, encoding="latin-1")
