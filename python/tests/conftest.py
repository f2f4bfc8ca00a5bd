"""Where the tests find the build: set by CTest, or defaults for a build in
<source>/build (PYTHONPATH must name the build directory either way)."""

import os
import pathlib

import pytest

SOURCE_DIR = pathlib.Path(
    os.environ.get("PAGEFOLD_SOURCE_DIR", pathlib.Path(__file__).resolve().parents[2]))
BUILD_DIR = pathlib.Path(os.environ.get("PAGEFOLD_BUILD_DIR", SOURCE_DIR / "build"))
SAMPLES = sorted(p.parent.name for p in (SOURCE_DIR / "tests" / "golden").glob("sample_*/input.html"))


@pytest.fixture
def cli():
    return BUILD_DIR / "pagefold"


def sample(name):
    return SOURCE_DIR / "tests" / "golden" / name / "input.html"
