"""Records an application whose service plays a scenario: it creates a proxy, starts a film, stops it, starts an
advertisement, and creates another proxy."""

import pathlib
import select
import subprocess

CALLBACK = 1.0  # seconds; definitions come after 0.4
ANSWER = 10.0


class Application:
    """tests/system/steered_application, in a run of the desktop platform."""

    def __init__(self, command_line):
        self._run = subprocess.Popen(command_line, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                     stderr=subprocess.DEVNULL, bufsize=0)
        self._unread = b""
        self.output = []

    def ask(self, words):
        """Has it do something, and awaits its answer, unless it has ended."""
        try:
            self._run.stdin.write(f"{words}\n".encode())
        except BrokenPipeError:
            return
        self._await(b"= ", ANSWER)

    def await_callback(self, words):
        """For a while: not every scenario brings it."""
        self._await(words, CALLBACK)

    def end(self):
        self._run.stdin.close()
        while self._line(ANSWER):
            pass
        self._run.stdout.close()
        self._run.wait(ANSWER)

    def _await(self, words, timeout):
        while (line := self._line(timeout)) and words not in line:
            pass

    def _line(self, timeout):
        """Empty at the end, and when the time is over."""
        while b"\n" not in self._unread:
            if not select.select([self._run.stdout], [], [], timeout)[0]:
                return b""
            data = self._run.stdout.read(4096)
            if not data:
                return b""
            self._unread += data
        line, _, self._unread = self._unread.partition(b"\n")
        self.output.append(line.decode())
        return line


def record(programs, application, scenario, mode, folder):
    """@return the recording's path."""
    return record_application(programs, application, scenario, mode, folder)[0]


def record_application(programs, application, scenario, mode, folder):
    """@return the recording's path, and what the application wrote."""
    folder = pathlib.Path(folder)
    film = folder / "film.webm"
    film.write_text("a film", encoding="utf-8")
    recording = folder / f"{scenario}-{mode}.jsonl"
    output = steer([pathlib.Path(programs) / "zuv-desktop", "run", "--private-shm", "--engine", "simulated",
                    "--scenario", scenario, "--record", recording, "--", application], scenario, mode, film)
    return recording, output


def steer(command_line, scenario, mode, film):
    """Has the application do the same each time. @return what it wrote, line by line."""
    create = "create" if mode == "asynchronous" else "create-sync"
    run = Application(command_line)
    run.ask(create)
    run.ask(f"start {film}")
    if scenario != "answers-out-of-order":  # there the next command has to follow at once
        run.await_callback(b" definitions ")
    run.ask("stop")
    run.ask(f"startAd {film}")
    run.await_callback(b"! ad ")  # now the answers before it have come as well
    run.ask(create)
    run.end()
    return run.output
