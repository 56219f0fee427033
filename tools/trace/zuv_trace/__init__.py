"""Reads recordings of the media proxy client: what docs/recordings.md describes, and docs/trace.md shows how to use."""

VERSION = "@PROJECT_VERSION@"  # by CMake, which copies the package
