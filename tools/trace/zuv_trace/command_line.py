"""The program zuv-trace: its subcommands and options."""

import argparse
import json
import os
import pathlib
import sys

from . import VERSION, pictures, recording, show
from .text import several

USAGE_ERROR = 2


def main(arguments=None, program="zuv-trace"):
    """@return the exit status."""
    options = _parser(program).parse_args(arguments)
    for stream in (sys.stdout, sys.stderr):
        stream.reconfigure(errors="backslashreplace")
    try:
        status = options.run(options)
        sys.stdout.flush()
        return status
    except BrokenPipeError:  # whoever read has seen enough
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
        return 0
    except KeyboardInterrupt:
        return 0
    except recording.RecordingError as error:
        return _failed(program, f"{options.file}: {error}")
    except pictures.PictureError as error:
        return _failed(program, f"{options.image}: {error}")
    except OSError as error:
        return _failed(program, f"{error.filename or options.file}: {error.strerror}")


def _failed(program, reason):
    """Whatever the program cannot do: 1 would say that a check has found violations."""
    print(f"{program}: {reason}", file=sys.stderr)
    return USAGE_ERROR


def _parser(program):
    parser = argparse.ArgumentParser(
        prog=program, description="Shows what a recording of the media proxy client holds.",
        epilog="Exits with 0; check with 1 if it finds violations; replay with the status of what it runs; with 2 "
        "when the command line is wrong or a file cannot be read or written.")
    parser.add_argument("--version", action="version", version=f"{program} {VERSION}",
                        help="Print the version and exit")
    commands = parser.add_subparsers(metavar="COMMAND", required=True)
    _add_show(commands)
    _add_report(commands)
    _add_export(commands)
    _add_check(commands)
    _add_picture(commands)
    _add_replay(commands)
    return parser


def _add(commands, name, run, what):
    command = commands.add_parser(name, help=what, description=f"{what}.")
    command.add_argument("file", metavar="FILE", help="The recording")
    command.add_argument("--redact", action="store_true", help="Replace the URLs and paths of media by labels")
    command.set_defaults(run=run)
    return command


def _add_show(commands):
    command = _add(commands, "show", _show, "Print one line for each event")
    add = command.add_argument
    add("--follow", action="store_true", help="Go on with what is appended, until the launcher ends")
    add("--object", action="append", default=[], metavar="ID", help="Only what names this object; may be repeated")
    add("--session", action="append", default=[], metavar="ID", help="Only what names this session; may be repeated")
    add("--kind", action="append", default=[], metavar="KIND", choices=sorted(recording.KINDS),
        help="Only records of this kind, such as publish, deliver or log; may be repeated")
    add("--level", metavar="LEVEL", choices=show.LEVELS, default="",
        help=f"Only lines of the logs up to this level: {', '.join(show.LEVELS)}")


def _add_report(commands):
    command = _add(commands, "report", _report, "Write the whole run as one page for a browser, or its ledger as text")
    way = command.add_mutually_exclusive_group(required=True)
    way.add_argument("-o", dest="output", metavar="PAGE", help="The HTML file to write")
    way.add_argument("--text", action="store_true", help="Print the ledger: what became of every command, latencies, "
                     "and time lost")


def _add_export(commands):
    command = _add(commands, "export", _export, "Write the recording for other programs, to standard output")
    command.add_argument("--format", metavar="FORMAT", required=True, choices=("chrome", "recording"),
                         help="chrome, for Perfetto and chrome://tracing; or recording, in the order of time")


def _add_check(commands):
    _add(commands, "check", _check, "Find violations of the rules that a media service has to keep")


def _add_picture(commands):
    what = "Add a picture to a recording, as what there is to be seen now"
    command = commands.add_parser("picture", help=what, description=f"{what}. The report shows it on its timeline.")
    command.add_argument("file", metavar="FILE", help="The recording, which may be one that is being written")
    command.add_argument("image", metavar="IMAGE", help="A PNG or JPEG file of at most 1 MiB")
    command.add_argument("text", metavar="TEXT", help="What the picture shows, in a few words")
    command.set_defaults(run=_picture)


def _add_replay(commands):
    what = "Run a command with a service that does what the recorded one did"
    command = commands.add_parser("replay", help=what, description=f"{what}.",
                                  epilog="Exits with the status of COMMAND.")
    add = command.add_argument
    add("file", metavar="FILE", help="The recording")
    add("--speed", metavar="N", type=_speed, default=1.0,
        help="How many times faster than recorded the service is, from 0.01 to 1000")
    add("--record", metavar="COPY", default="", help="Record the new run into this file")
    add("command", metavar="COMMAND", nargs="+", help="The program and its arguments, after --")
    command.set_defaults(run=_replay, redact=False)


def _speed(text):
    number = float(text)
    if not 0.01 <= number <= 1000:
        raise argparse.ArgumentTypeError(f"{text} is not from 0.01 to 1000")
    return number


def _read(options):
    read = recording.read(options.file)
    if read.damaged:
        print(f"zuv-trace: {several(read.damaged, 'damaged line')} left out", file=sys.stderr)
    if options.redact:
        from .redaction import Redaction
        redaction = Redaction(read.records)
        return recording.Recording([redaction.redacted(record) for record in read.records])
    return read


def _read_run(options):
    from .model import Run
    return Run(_read(options).records)


def _show(options):
    if options.follow and options.redact:
        return _failed("zuv-trace", "--follow does not go with --redact, which has to read the whole recording first")
    chosen = show.Filter(tuple(options.object), tuple(options.session), tuple(options.kind), options.level)
    colour = show.wants_colour(sys.stdout, os.environ)
    if not options.follow:
        for line in show.lines_of(_read(options).records, colour, chosen):
            print(line)
        return 0
    lines = show.Lines(colour)
    for records in recording.Follower(options.file).batches():
        for line in filter(None, (lines.of(record, chosen) for record in records)):
            print(line)
        sys.stdout.flush()
    return 0


def _report(options):
    if options.text:
        from . import ledger, ledger_text
        for line in ledger_text.lines(ledger.Ledger(_read_run(options))):
            print(line)
        return 0
    from . import report
    page = report.page(_read(options), os.path.basename(options.file))
    with open(options.output, "w", encoding="utf-8", errors="backslashreplace") as file:
        file.write(page)
    return 0


def _export(options):
    if options.format == "recording":
        for record in _read(options).records:
            print(json.dumps(record.members, separators=(",", ":")))
        return 0
    from . import chrome
    json.dump(chrome.trace(_read_run(options)), sys.stdout, separators=(",", ":"))
    print()
    return 0


def _picture(options):
    pictures.add(options.file, options.image, options.text)
    return 0


def _check(options):
    from . import verdict
    found = verdict.Verdict(_read(options).records)
    for line in found.lines():
        print(line)
    return 1 if found.violations else 0


def _replay(options):
    from . import replay
    programs = pathlib.Path(sys.argv[0]).resolve().parent
    return replay.replay(_read(options), options.speed, options.record, options.command, programs)
