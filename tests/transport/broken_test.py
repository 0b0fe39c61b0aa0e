"""send and fetch, broken at each of their system calls in turn: killed there, or the call fails. The
journal must tell the truth whatever comes of it: nothing is delivered twice, nothing is acknowledged
that is not on disk, and the next run finishes what can be finished. Run with the paths of break_at
and of the transport program."""

import errno
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest
from concurrent.futures import ThreadPoolExecutor

from centre import Centre, notification, retrieve_conf, send_req

BREAK_AT, TRANSPORT = (str(pathlib.Path(sys.argv.pop(1)).resolve()) for _ in range(2))
KILLED, NOT_REACHED, NO_TRACING = 100, 101, 102
DONE, FAILED, UNKNOWN = 0, 1, 4
QUICK = ["--retry-unit", "1"]
MOST_CALLS = 600
WORKERS = os.cpu_count() or 1
# A program with a sanitizer starts slowly, and cannot look for leaks while it is traced.
STEP = 5 if b"__asan_init" in pathlib.Path(TRANSPORT).read_bytes() else 1
os.environ["ASAN_OPTIONS"] = "detect_leaks=0"


class Broken(unittest.TestCase):
    """One attempt a folder and a centre of its own."""

    def run_in(self, folder, *words):
        return subprocess.run(words, cwd=folder, stdout=subprocess.DEVNULL,
                              stderr=subprocess.PIPE, text=True, timeout=30)

    def each_call(self, attempt):
        """`attempt` takes the number of a call and the error, and tells whether it was reached."""
        if b"__gcov_init" in pathlib.Path(TRANSPORT).read_bytes():
            self.skipTest("counting what ran makes thousands of calls")
        for error in (0, errno.ENOSPC):
            with ThreadPoolExecutor(WORKERS) as pool:
                for first in range(1, MOST_CALLS, 16):
                    calls = range(first, first + 16, STEP)
                    if not all(pool.map(lambda at: self.guarded(attempt, at, error), calls)):
                        break
                else:
                    self.fail(f"more than {MOST_CALLS} calls")
            self.assertGreater(first, 16, "the mark was not found")

    def guarded(self, attempt, at, error):
        folder = tempfile.mkdtemp(prefix="mmskit-")
        try:
            return attempt(pathlib.Path(folder), at, error)
        except AssertionError as problem:
            raise AssertionError(f"call {at}, error {error}: {problem}") from problem
        finally:
            shutil.rmtree(folder)

    def broken(self, folder, at, error, mark, *words):
        outcome = self.run_in(folder, BREAK_AT, str(at), str(error), mark, TRANSPORT, *words, *QUICK)
        if outcome.returncode == NO_TRACING:
            raise unittest.SkipTest("this process may not trace a child")
        self.assertIn(outcome.returncode, (DONE, FAILED, UNKNOWN, KILLED, NOT_REACHED), outcome.stderr)
        return outcome

    @staticmethod
    def states(path):
        rows = path.read_text().split("\n")[1:-1] if path.exists() else []
        return [row.split()[1] for row in rows]

    # What a second run gives after each last state of the journal.
    AFTER = {"sending": UNKNOWN, "unknown": UNKNOWN, "sent": DONE, "not-sent": DONE, None: DONE}

    def test_send(self):
        def attempt(folder, at, error):
            (folder / "a.mms").write_bytes(send_req(body=bytes(3000)))
            with Centre() as one:
                words = ["send", "a.mms", "--mmsc", one.url]
                first = self.broken(folder, at, error, "a.mms", *words)
                one.settle()
                delivered, told = len(one.delivered), first.stderr
                state = (self.states(folder / "a.mms.journal") or [None])[-1]
                self.assertIn(delivered, (0, 1), told)
                # How often it was delivered, where the journal or the exit code knows.
                by_state = {None: 0, "not-sent": 0, "sent": 1}
                by_code = {FAILED: 0, DONE: 1, NOT_REACHED: 1}
                self.assertEqual(by_state.get(state, delivered), delivered, told)
                self.assertEqual(by_code.get(first.returncode, delivered), delivered, told)
                second = self.run_in(folder, TRANSPORT, *words, *QUICK)
                one.settle()
                self.assertEqual(second.returncode, self.AFTER[state], f"{state}: {second.stderr}")
                expected = 1 if second.returncode == DONE else delivered
                self.assertEqual(len(one.delivered), expected, f"{state}: {second.stderr}")
            return first.returncode != NOT_REACHED
        self.each_call(attempt)

    def test_fetch(self):
        message = retrieve_conf(body=b"hello there" * 300)

        def attempt(folder, at, error):
            file = folder / "d" / "N1.mms"
            problems = []

            def told(_):
                if not file.exists() or file.read_bytes() != message:
                    problems.append("acknowledged, and not on disk")

            with Centre(messages={"/m": message}, on_answer=told) as one:
                (folder / "n.mms").write_bytes(notification(one.at("/m")))
                words = ["fetch", "n.mms", "-o", "d", "--no-show"]
                first = self.broken(folder, at, error, "n.mms", *words)
                one.settle()
                self.assertEqual(problems, [], first.stderr)
                if first.returncode in (DONE, NOT_REACHED):
                    self.assertEqual(len(one.answers), 1, first.stderr)
                if file.exists():
                    self.assertEqual(file.read_bytes(), message, "half a message")
                states = self.states(folder / "d" / "N1.journal")
                answered = len(one.answers)
                self.assertLessEqual(answered, 1)
                if states and states[-1] == "acknowledged":
                    self.assertEqual(answered, 1)
                second = self.run_in(folder, TRANSPORT, *words, *QUICK)
                one.settle()
                self.assertEqual(second.returncode, DONE, f"{states}: {second.stderr}")
                self.assertEqual(problems, [], second.stderr)
                self.assertEqual([path.read_bytes() for path in (folder / "d").glob("*.mms")], [message])
                # An answer may come twice when nobody could know of the first.
                unclear = bool(states) and states[-1] in ("acknowledging", "unknown")
                self.assertEqual(len(one.answers), 1 + (answered if unclear else 0), states)
            return first.returncode != NOT_REACHED
        self.each_call(attempt)


if __name__ == "__main__":
    unittest.main()
