"""Violations by the service as a process, which only a monitor of the bus sees."""

from .checking import Violation


def service_stays(run):
    for life in run.service_lives:
        # A client that asks for a start of the service has it end if it hangs.
        if life.ended is None or any(life.began < start.t <= life.ended for start in run.service_starts):
            continue
        users = [request for request in run.requests if life.began <= request.t < life.ended
                 and run.end_of(request.process) > life.ended]
        if users:
            yield Violation(life.ended, "the service leaves the bus while an application uses it", (), users[-1:],
                            (life.record,))
