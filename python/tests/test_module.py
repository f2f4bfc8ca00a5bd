"""The Python module against the command line: the same records, the same
failures, and conversions that do not share state between threads."""

import concurrent.futures
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

import pytest

import pagefold
from conftest import BUILD_DIR, SAMPLES, sample

NO_SCREEN = "未找到 <div class=\"screen\"> 根节点（受限 HTML 必须从 screen 容器开始）"
NOT_IN_UI = ("output_json 不在 <项目>/ui/ 目录下，自动转图输出到 json 同目录 images/；"
             "建议把图片移到项目 resources/images/ 后 json 引用 images/xxx.png（相对 resources）")
TWO_SCREENS = (
    '<html><body>'
    '<div class="screen" data-page="a"><div class="text">一</div></div>'
    '<div class="screen" data-page="b"><div class="text">二</div></div>'
    '</body></html>')


def run_cli(cli, *args):
    return subprocess.run([str(cli), *map(str, args)], capture_output=True, text=True)


def record_text(record):
    """The record as the command line prints it."""
    return json.dumps(record, ensure_ascii=False, indent=1) + "\n"


def files_of(directory):
    return {p.name: p.read_bytes() for p in sorted(pathlib.Path(directory).glob("*.json"))}


@pytest.mark.parametrize("name", SAMPLES)
def test_sample_record_and_pages_equal_the_command_lines(cli, tmp_path, name):
    out = tmp_path / "out"
    printed = run_cli(cli, sample(name), out)
    assert printed.returncode == 0, printed.stderr
    written = files_of(out)
    shutil.rmtree(out)

    record = pagefold.pagefold(str(sample(name)), str(out))
    assert record_text(record) == printed.stdout
    assert files_of(out) == written
    assert type(record["controls"]) is int and type(record["success"]) is bool


@pytest.mark.parametrize("name", SAMPLES)
def test_convert_text_gives_the_pages_without_files(cli, tmp_path, monkeypatch, name):
    out = tmp_path / "out"
    record = json.loads(run_cli(cli, sample(name), out).stdout)
    (tmp_path / "cwd").mkdir()
    monkeypatch.chdir(tmp_path / "cwd")

    # Pictures, if any, go where the command put them.
    text = pagefold.convert_text(sample(name).read_text(encoding="utf-8"),
                                 asset_dir=record["assetDir"])
    assert os.listdir(".") == []
    # The page roots, laid out as the page files are, are the page files.
    assert [(p["page"], json.dumps(p["data"], ensure_ascii=False, indent=2)) for p in text["pages"]] == [
        (p["page"], pathlib.Path(p["json"]).read_text(encoding="utf-8")) for p in record["pages"]]
    # The rest is the file record without its file keys and without the
    # location warning (there is no output place).
    for key in ("jsonPath", "jsonPaths", "jsonsProduced"):
        del record[key]
    del text["pages"], record["pages"]
    assert record["warnings"][0] == NOT_IN_UI
    record["warnings"] = record["warnings"][1:]
    assert text == record
    assert list(text) == list(record)


def test_failure_records_raise_Failure_with_the_record(cli, tmp_path):
    missing = tmp_path / "missing.html"
    empty = tmp_path / "empty.html"
    empty.write_text("<html><body><p>no screen</p></body></html>", encoding="utf-8")
    twice = tmp_path / "twice.html"
    twice.write_text(TWO_SCREENS.replace('data-page="b"', 'data-page="a"'), encoding="utf-8")
    for path, kind, want in [
        (missing, "FileNotFoundError", {"success": False, "error": f"html 文件不存在: {missing}"}),
        (empty, "NoScreenError", {"success": False,
                                  "warnings": [NOT_IN_UI, NO_SCREEN],
                                  "screensDetected": 0, "pagesProduced": 0, "error": NO_SCREEN}),
        (twice, "PageCountError", None),
    ]:
        with pytest.raises(pagefold.Failure) as caught:
            pagefold.pagefold(str(path), str(tmp_path / "out"))
        failure = caught.value
        assert failure.type == kind
        assert failure.message == failure.record["error"]
        assert failure.record["success"] is False
        if want is not None:
            assert failure.record == want and list(failure.record) == list(want)
        else:
            assert failure.record["mode"] == "per-screen"
            assert failure.record["error"].startswith("屏数核对失败：识别到 2 个 .screen，仅产出 1 页")
        printed = run_cli(cli, path, tmp_path / "out")
        assert (printed.returncode, printed.stdout) == (1, f"[X] {failure.message}\n")
    assert not (tmp_path / "out").exists()
    with pytest.raises(pagefold.Failure) as caught:
        pagefold.convert_text("")
    assert (caught.value.type, caught.value.message) == ("NoScreenError", NO_SCREEN)
    assert caught.value.record == {"success": False, "warnings": ["空 HTML"],
                                   "screensDetected": 0, "pagesProduced": 0,
                                   "error": NO_SCREEN}


def test_thrown_failures_raise_Failure_with_the_command_lines_type_and_message(cli, tmp_path):
    bad = tmp_path / "bad.html"
    bad.write_bytes(b'<div class="screen">\xff</div>')
    good = sample(SAMPLES[0])
    blocker = tmp_path / "file"
    blocker.write_text("not a directory")
    cases = [
        (bad, tmp_path / "out", "UnicodeDecodeError", f"{bad}: invalid UTF-8 at byte 20"),
        (good, blocker / "ui", "NotADirectoryError", None),
    ]
    for src, dst, kind, message in cases:
        with pytest.raises(pagefold.Failure) as caught:
            pagefold.pagefold(src, dst)
        failure = caught.value
        assert failure.type == kind
        if message is not None:
            assert failure.message == message
        assert str(failure) == f"{failure.type}: {failure.message}"
        assert isinstance(failure, Exception) and failure.args == (failure.type, failure.message)
        assert failure.record is None
        printed = run_cli(cli, src, dst)
        assert (printed.returncode, printed.stdout, printed.stderr) == (1, "", f"[X] {failure}\n")
    assert sorted(os.listdir(tmp_path)) == ["bad.html", "file"]

    with pytest.raises(pagefold.Failure) as caught:
        pagefold.convert_text('<div class="screen">\udcff</div>')
    assert (caught.value.type, caught.value.message) == (
        "UnicodeDecodeError", "<text>: invalid UTF-8 at byte 20")


def test_arguments_read_as_the_library_reads_them(tmp_path):
    # merge_windows is read for its truth; res overrides every page.
    for flag, mode in [("yes", "merge-windows"), (1, "merge-windows"), (0, "per-screen"),
                       ("", "per-screen"), (None, "per-screen")]:
        assert pagefold.convert_text(TWO_SCREENS, merge_windows=flag)["mode"] == mode
    merged = pagefold.convert_text(TWO_SCREENS, res="320x240", merge_windows=True)
    assert merged["resolution"] == "320x240"
    # Merged pages share one root in the record, and so in Python.
    assert merged["pages"][0]["data"] is merged["pages"][1]["data"]
    # Paths may be path objects or bytes.
    src = tmp_path / "two.html"
    src.write_text(TWO_SCREENS, encoding="utf-8")
    as_text = pagefold.pagefold(str(src), str(tmp_path / "o1"))
    as_path = pagefold.pagefold(src, tmp_path / "o2")
    assert as_path["jsonPaths"] == [str(tmp_path / "o2" / n) for n in ("a.json", "b.json")]
    assert as_path["pages"][0]["page"] == as_text["pages"][0]["page"] == "a"
    # Without an output place, several pages go beside the input.
    assert pagefold.pagefold(os.fsencode(src))["jsonPaths"] == [
        str(tmp_path / n) for n in ("a.json", "b.json")]

    class Unreadable:
        def __bool__(self):
            raise ZeroDivisionError("no truth")

    with pytest.raises(ZeroDivisionError):
        pagefold.convert_text(TWO_SCREENS, merge_windows=Unreadable())
    with pytest.raises(TypeError):
        pagefold.convert_text(b"<div></div>")
    with pytest.raises(TypeError):
        pagefold.pagefold(str(src), res=800)


def test_two_threads_converting_at_once_give_the_sequential_results(tmp_path):
    texts = [sample(name).read_text(encoding="utf-8") for name in SAMPLES] + [TWO_SCREENS]
    sources = []
    for i, text in enumerate(texts):
        sources.append(tmp_path / f"src{i}.html")
        sources[-1].write_text(text, encoding="utf-8")
    jobs = list(range(len(texts))) * 4

    def convert(index):
        # Text and files, every other one merged; the file record without the
        # places that differ from run to run.
        merge = index % 2 == 1
        in_memory = pagefold.convert_text(texts[index], merge_windows=merge)
        out = tempfile.mkdtemp(dir=tmp_path)
        on_disk = pagefold.pagefold(str(sources[index]), out, merge_windows=merge)
        pages = {p: pathlib.Path(p).read_text(encoding="utf-8") for p in on_disk["jsonPaths"]}
        text = json.dumps([in_memory, on_disk, list(pages.values())], ensure_ascii=False)
        return text.replace(out, "<out>")

    sequential = [convert(i) for i in jobs]
    with concurrent.futures.ThreadPoolExecutor(max_workers=2) as pool:
        at_once = list(pool.map(convert, jobs))
    assert at_once == sequential


def test_an_installed_module_finds_the_plug_ins_of_its_own_prefix(tmp_path):
    module = next(BUILD_DIR.glob("pagefold.cpython-*.so"))
    plugin = BUILD_DIR / "test-plugins" / "libpagefold_ui_emit.so"
    site = tmp_path / "prefix" / "lib" / "python3" / "dist-packages"
    site.mkdir(parents=True)
    shutil.copy(module, site)
    page = '<div class="screen" data-bg="#000000"><div class="text">hi</div></div>'
    probe = ("import json, pagefold; "
             f"print(json.dumps(pagefold.convert_text({page!r})['warnings'], ensure_ascii=False))")

    def warnings():
        env = dict(os.environ, PYTHONPATH=str(site))
        done = subprocess.run([sys.executable, "-c", probe], env=env, capture_output=True,
                              text=True, cwd=tmp_path)
        assert done.returncode == 0, done.stderr
        return done.stdout

    # Without a plug-in in its prefix the module falls back on the program's
    # place (/usr/bin/python3: /usr/lib/pagefold), empty unless pagefold is
    # installed system-wide.
    if not pathlib.Path("/usr/lib/pagefold/libpagefold_ui_emit.so").exists():
        assert "No module named 'ui_emit'" in warnings()
    (tmp_path / "prefix" / "lib" / "pagefold").mkdir()
    shutil.copy(plugin, tmp_path / "prefix" / "lib" / "pagefold")
    assert warnings() == ('["字段补全：textview 的必填键 [\'fontFamily\'] 在发射层默认表里没有取值 → '
                          '未补（需在 ui_tools/ui_emit 登记）"]\n')
