"""The installed tree: README.md links to nothing that is not there, and the examples build against it and
find their data wherever they are started.

QSL_BUILD is the build folder, QSL_CMAKE the cmake to install with.
"""

import os
import re
import subprocess
from pathlib import Path

import pytest

SOURCE = Path(__file__).resolve().parents[2]
CMAKE = os.environ["QSL_CMAKE"]
PROGRAMS = sorted(path.stem for path in (SOURCE / "examples").iterdir() if path.suffix in (".c", ".F90"))


def run(*command, **options):
    done = subprocess.run(command, text=True, capture_output=True, check=False, **options)
    assert done.returncode == 0, done.stdout + done.stderr
    return done.stdout


@pytest.fixture(scope="session")
def prefix(tmp_path_factory):
    folder = tmp_path_factory.mktemp("installed")
    run(CMAKE, "--install", os.environ["QSL_BUILD"], "--prefix", folder)
    return folder


@pytest.fixture(scope="session")
def programs(prefix, tmp_path_factory):
    build = tmp_path_factory.mktemp("examples")
    run(CMAKE, "-G", "Ninja", "-S", prefix / "share/doc/qsl/examples", "-B", build, f"-DCMAKE_PREFIX_PATH={prefix}",
        "-DCMAKE_C_FLAGS=-m32", "-DCMAKE_Fortran_FLAGS=-m32")
    run(CMAKE, "--build", build)
    return build


def test_the_readme_links_to_what_is_installed(prefix):
    for document in ["README.md", "docs/environment.md"]:
        path = prefix / "share/doc/qsl" / document
        links = re.findall(r"\]\(([^)#]+)", path.read_text())
        assert links or document != "README.md"
        missing = [link for link in links if "://" not in link and not (path.parent / link).exists()]
        assert not missing, f"installed {document}"


def test_the_readme_keeps_its_words(prefix):
    """Links apart, it is that of the source."""
    def words(path):
        return re.sub(r"\[([^]]*)\]\([^)]*\)", r"\1", path.read_text())
    assert words(prefix / "share/doc/qsl/README.md") == words(SOURCE / "README.md")


@pytest.mark.parametrize("program", PROGRAMS)
def test_an_example_runs_from_anywhere(program, programs, tmp_path):
    assert run(programs / program, cwd=tmp_path)


def test_an_example_takes_another_folder(programs, tmp_path):
    (tmp_path / "longley.txt").write_text("# no rows\n")
    done = subprocess.run([programs / "employment", tmp_path], capture_output=True, check=False)
    assert done.returncode == 1


def test_the_fortran_module_is_named_to_other_builds(prefix):
    text = (prefix / "lib/pkgconfig/qsl.pc").read_text()
    module = re.search(r"^fortran=\$\{includedir\}/(.*)$", text, re.M)[1]
    assert (prefix / "include" / module).read_text() == (SOURCE / "include" / module).read_text()
