"""The installed forms of pagefold: the CMake package and pkg-config file used
by a program outside the tree, and the Debian package unpacked into a scratch
root. Each gives the record the command of the build tree prints."""

import gzip
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys

import pytest

SOURCE_DIR = pathlib.Path(os.environ["PAGEFOLD_SOURCE_DIR"])
BUILD_DIR = pathlib.Path(os.environ["PAGEFOLD_BUILD_DIR"])
CMAKE = os.environ.get("PAGEFOLD_CMAKE", "cmake")
CPACK = os.environ.get("PAGEFOLD_CPACK", "cpack")
CXX = os.environ.get("PAGEFOLD_CXX", "c++")
SAMPLES = sorted((SOURCE_DIR / "tests" / "golden").glob("sample_*/input.html"))
CONSUMER = SOURCE_DIR / "tests" / "packaging" / "consumer"


def run(*args, **kw):
    done = subprocess.run([str(a) for a in args], capture_output=True, text=True, **kw)
    assert done.returncode == 0, f"{args}\n{done.stdout}\n{done.stderr}"
    return done


def converts_like_the_build(program, tmp_path, env=None):
    """`program <input> <out>` prints what build/pagefold prints, and writes the
    same pages, for every sample."""
    out = tmp_path / "out"
    for src in SAMPLES:
        shutil.rmtree(out, ignore_errors=True)
        expected = run(BUILD_DIR / "pagefold", src, out).stdout
        pages = {p.name: p.read_bytes() for p in out.glob("*.json")}
        shutil.rmtree(out)
        assert run(*program, src, out, env=env).stdout == expected, src
        assert {p.name: p.read_bytes() for p in out.glob("*.json")} == pages


@pytest.fixture(scope="module")
def prefix(tmp_path_factory):
    root = tmp_path_factory.mktemp("prefix")
    run(CMAKE, "--install", BUILD_DIR, "--prefix", root)
    return root


def test_a_cmake_project_finds_the_installed_package(prefix, tmp_path):
    build = tmp_path / "consumer-build"
    run(CMAKE, "-S", CONSUMER, "-B", build, f"-DCMAKE_PREFIX_PATH={prefix}",
        f"-DCMAKE_CXX_COMPILER={CXX}")
    run(CMAKE, "--build", build)
    converts_like_the_build([build / "consumer"], tmp_path)


def test_pkg_config_gives_what_a_link_needs(prefix, tmp_path):
    (pc,) = prefix.rglob("pagefold.pc")
    env = dict(os.environ, PKG_CONFIG_PATH=str(pc.parent))
    flags = run("pkg-config", "--cflags", "--libs", "pagefold", env=env).stdout.split()
    # The prefix is found from the file's own place.
    includes = [pathlib.Path(f[2:]).resolve() for f in flags if f.startswith("-I")]
    assert prefix / "include" in includes
    plugins = run("pkg-config", "--variable=plugindir", "pagefold", env=env).stdout.strip()
    assert pathlib.Path(plugins).resolve() == prefix / "lib" / "pagefold"
    program = tmp_path / "consumer"
    run(CXX, "-std=c++17", f'-DPAGEFOLD_PLUGIN_DIR="{plugins}"', "-o", program,
        CONSUMER / "main.cpp", *flags)
    converts_like_the_build([program], tmp_path)


@pytest.fixture(scope="module")
def deb(tmp_path_factory):
    out = tmp_path_factory.mktemp("deb")
    run(CPACK, "-G", "DEB", "--config", BUILD_DIR / "CPackConfig.cmake", "-B", out)
    (package,) = out.glob("pagefold_*.deb")
    root = out / "root"
    run("dpkg", "-x", package, root)
    return package, root


def depends_names(package):
    depends = run("dpkg-deb", "-f", package, "Depends").stdout
    return {re.sub(r"\s*\(.*\)", "", d).strip() for d in depends.split(",")}


def elf_files(root):
    for p in sorted(root.rglob("*")):
        if p.is_file() and not p.is_symlink() and p.read_bytes()[:4] == b"\x7fELF":
            yield p


def owner_of(soname):
    """The Debian package that holds the library `soname` on this machine."""
    listing = run("ldconfig", "-p").stdout
    paths = re.findall(rf"^\s+{re.escape(soname)} \(libc6,x86-64.*\) => (\S+)$", listing, re.M)
    assert paths, soname
    owners = subprocess.run(["dpkg", "-S", os.path.realpath(paths[0])], capture_output=True,
                            text=True).stdout or run("dpkg", "-S", paths[0]).stdout
    return owners.split(":")[0]


def test_the_deb_declares_what_its_binaries_and_plug_ins_need(deb):
    package, root = deb
    names = depends_names(package)
    assert {"libpcre2-8-0", "libutf8proc2", "libspng0", "zlib1g",
            "fonts-material-design-icons-iconfont", "fonts-noto-color-emoji"} <= names
    binaries = list(elf_files(root))
    assert {p.name for p in binaries} >= {"pagefold", "pagefold-mcp"}
    for binary in binaries:
        dynamic = run("readelf", "-d", binary).stdout
        for soname in re.findall(r"\(NEEDED\)\s+Shared library: \[(.+)\]", dynamic):
            if soname.startswith(("ld-linux", "libpython")):
                continue
            assert owner_of(soname) in names, f"{binary.name} needs {soname}"


def test_the_unpacked_deb_converts_as_the_build_does(deb, tmp_path):
    _, root = deb
    usr = root / "usr"
    converts_like_the_build([usr / "bin" / "pagefold"], tmp_path)
    # The Python module from the package, importable as installed.
    site = usr / "lib" / "python3" / "dist-packages"
    probe = ("import json, sys, pagefold; "
             "print(json.dumps(pagefold.pagefold(sys.argv[1], sys.argv[2]), "
             "ensure_ascii=False, indent=1))")
    env = dict(os.environ, PYTHONPATH=str(site))
    converts_like_the_build([sys.executable, "-c", probe], tmp_path, env=env)
    # The server answers a client.
    hello = {"jsonrpc": "2.0", "id": 1, "method": "initialize",
             "params": {"protocolVersion": "2025-11-25", "capabilities": {},
                        "clientInfo": {"name": "t", "version": "1"}}}
    reply = run(usr / "bin" / "pagefold-mcp", input=json.dumps(hello) + "\n").stdout
    assert json.loads(reply)["result"]["serverInfo"]["name"] == "pagefold-mcp"
    # Manual pages, the headers and the CMake package are in place.
    for page in ("pagefold.1.gz", "pagefold-mcp.1.gz"):
        assert gzip.decompress((usr / "share" / "man" / "man1" / page).read_bytes()).startswith(
            b".TH PAGEFOLD")
    assert (usr / "include" / "pagefold" / "pagefold.hpp").is_file()
    assert len(list(usr.rglob("cmake/pagefold/pagefoldConfig.cmake"))) == 1
    assert len(list(usr.rglob("pkgconfig/pagefold.pc"))) == 1
