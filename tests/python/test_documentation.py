"""Stubs, docstrings and pages agree with the module."""

import doctest
import importlib
import os
import pathlib
import pkgutil
import re
import subprocess
import sys

import pytest

import zeibreku as z
from conftest import EXAMPLES, name_of

ROOT = pathlib.Path(__file__).resolve().parents[2]
PAGES = [ROOT / "README.md", *sorted((ROOT / "docs" / "guide").glob("python*.md"))]
MODULES = [module.name for module in pkgutil.iter_modules(z.__path__)]


@pytest.mark.skipif("ZEIBREKU_SANITIZED" in os.environ, reason="shows a sanitizer nothing")
def test_stubs(tmp_path):
    pytest.importorskip("mypy")
    configuration = tmp_path / "mypy.ini"
    configuration.write_text("[mypy]\n")
    for command in (
        [str(ROOT / "scripts" / "python_stubs.py"), "--check"],
        ["-m", "mypy.stubtest", "zeibreku", "--mypy-config-file", str(configuration)]
        + ["--allowlist", str(pathlib.Path(__file__).with_name("stubtest.txt"))],
    ):
        run = subprocess.run(
            [sys.executable, *command], cwd=tmp_path, capture_output=True, text=True
        )
        assert run.returncode == 0, run.stdout + run.stderr


def test_the_package_is_that_of_the_sources():
    for path in (ROOT / "python" / "zeibreku").glob("*.py*"):
        assert (pathlib.Path(z.__file__).parent / path.name).read_text() == path.read_text()


@pytest.mark.parametrize("name", ["", *MODULES])
def test_docstrings(name):
    module = importlib.import_module(f"zeibreku.{name}" if name else "zeibreku")
    assert doctest.testmod(module).failed == 0


@pytest.mark.parametrize("element", EXAMPLES, ids=name_of)
def test_every_class_and_component_is_described(element):
    cls = type(element)
    assert cls.__module__ == "zeibreku"
    assert all(base.__doc__ for base in cls.__mro__ if base.__module__ == cls.__module__)
    for name in cls._components:
        assert getattr(cls, name).__doc__.rstrip().endswith(".")


@pytest.mark.parametrize("cls", [z.AskTell, z.Progress, z.Record], ids=lambda cls: cls.__name__)
def test_what_searches_use_is_described(cls):
    public = [name for name in vars(cls) if not name.startswith("_")]
    assert cls.__doc__ and public and all(getattr(cls, name).__doc__ for name in public)


@pytest.mark.parametrize("page", PAGES, ids=lambda page: page.name)
def test_pages(page, tmp_path, monkeypatch):
    """Runs the examples of a page in order: blocks of python, and of pycon with their output."""
    monkeypatch.chdir(tmp_path)
    monkeypatch.setenv("MPLBACKEND", "Agg")
    monkeypatch.syspath_prepend(str(tmp_path))
    names = {"__name__": "__page__"}
    blocks = re.findall(r"^```(python|pycon)\n(.*?)^```", page.read_text(), re.M | re.S)
    assert blocks
    flags = doctest.ELLIPSIS | doctest.NORMALIZE_WHITESPACE
    for language, block in blocks:
        if language == "python":
            file = re.match(r"# (\w+\.py)\n", block)
            if file:
                (tmp_path / file[1]).write_text(block)
            exec(compile(block, str(page), "exec"), names)
        else:
            test = doctest.DocTestParser().get_doctest(block, names, page.name, str(page), 0)
            assert doctest.DocTestRunner(optionflags=flags).run(test, clear_globs=False).failed == 0
            names.update(test.globs)
