"""Changes client/src in one small place at a time and runs the client's tests on every change: docs/testing.md."""
