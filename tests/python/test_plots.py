"""Pictures of tables, functions, maps and fields, and the scripts that save some."""

import base64
import html
import io
import os
import pathlib
import re
import subprocess
import sys

import matplotlib.image
import matplotlib.pyplot
import numpy
import pytest

import zeibreku as z

matplotlib.use("Agg")
SCRIPTS = pathlib.Path(__file__).resolve().parents[2] / "examples" / "python"
CURVE = z.MultipointScalarFunction(domain_values=[0, 1, 3], range_values=[2, 0, 1])
TENS = z.Table(
    axes=([0, 1, 2], [0, 5]),
    values=numpy.stack([numpy.ones((3, 2)), [[0, 1], [10, 11], [20, 21]]], axis=-1),
)
PAIR = z.Table(axes=([0, 1, 3],), values=[[2, 3], [0, 5], [1, 4]])
DEEP = z.Table(
    axes=([0, 1], [2], [4, 6], [0, 8]), values=numpy.arange(8.0).reshape(2, 1, 2, 2)
)
GAP = z.CompositeFunction(
    z.CompositeBranch(
        left=z.Table(axes=([0, 1], [0, 1]), values=[[1, 1], [1, 1]]),
        right=z.Table(axes=([2, 3], [0, 1]), values=[[2, 2], [2, 2]]),
    )
)

ROUGH = z.RandomField(CURVE, spacing=0.5, mean=3)


@pytest.fixture(autouse=True)
def close():
    yield
    matplotlib.pyplot.close("all")


def image(file):
    """A picture that is not blank."""
    pixels = matplotlib.image.imread(file)
    assert pixels.std() > 0.02
    return pixels


@pytest.mark.parametrize("curve", [CURVE, z.ScalarFunctionContainer(CURVE), PAIR], ids=repr)
def test_a_line_goes_through_the_points(curve):
    ax = curve.plot(color="red")
    x, y = ax.lines[0].get_data()
    marked = ax.lines[0].get_markevery()
    assert ax.lines[0].get_color() == "red"
    assert x[marked].tolist() == [0, 1, 3] and y[marked].tolist() == [2, 0, 1]
    assert (x.min(), x.max()) == (0, 3)
    assert [line.get_label() for line in ax.lines[1:]] == ["value[1]"] * (curve is PAIR)
    assert curve is not PAIR or curve.plot(value=1).lines[0].get_ydata()[-1] == 4


def test_intervals():
    assert z.PowerUnitaryMap(exponent=2).plot().lines[0].get_xdata()[[0, -1]].tolist() == [0, 1]
    x, y = CURVE.plot(interval=(-1, 2)).lines[0].get_data()
    assert (x[0], y[0], x[-1], y[-1]) == (-1, 4, 2, 0.5)
    assert CURVE.plot(interval=(2, -1)).lines[0].get_ydata().tolist() == y.tolist()
    for wrong, exception in (((0, numpy.inf), ValueError), ([1], ValueError), ("ab", TypeError)):
        with pytest.raises(exception, match="^interval: "):
            CURVE.plot(interval=wrong)


@pytest.mark.parametrize("table", [TENS, TENS.freeze()], ids=["live", "frozen"])
def test_colours_have_the_place_of_their_values(table):
    figure, ax = matplotlib.pyplot.subplots()
    assert table.plot(ax, value=1, label="tens") is ax
    values = ax.collections[0].get_array().reshape(-1, len(numpy.unique(values_x(ax))))
    assert values[[0, 0, -1, -1], [0, -1, 0, -1]].tolist() == [0, 20, 1, 21]
    assert ax.get_xlim() == pytest.approx((0, 2), abs=0.02)
    assert figure.axes[1].get_ylabel() == "tens"
    table.plot()
    assert matplotlib.pyplot.gcf().axes[1].get_ylabel() == "value[0]"
    for wrong, exception in ((2, ValueError), (0.5, TypeError), ("1", TypeError)):
        with pytest.raises(exception, match="^value: "):
            table.plot(value=wrong)
    with pytest.raises(TypeError, match="^ax: expected .*, got 3"):
        table.plot(ax=3)
    with pytest.raises(ValueError, match="has no values"):
        z.Table(axes=([0, 1],), values=numpy.ones((2, 0))).plot()


def values_x(ax):
    """The middles of the cells' columns."""
    edges = ax.collections[0]._coordinates[0, :, 0]
    return (edges[1:] + edges[:-1]) / 2


def test_a_section_goes_through_the_middle():
    ax = DEEP.plot()
    assert ax.get_title() == "x[1] = 2, x[3] = 4"
    assert (ax.get_xlabel(), ax.get_ylabel()) == ("x[0]", "x[2]")
    assert ax.collections[0].get_array().ravel()[[0, -1]].tolist() == [0.5, 6.5]
    assert DEEP.plot(at=[0, 2, 0, 8]).collections[0].get_array().ravel()[0] == 1
    for wrong, exception in (([0], ValueError), (["a"] * 4, TypeError)):
        with pytest.raises(exception, match="^at: expected"):
            DEEP.plot(at=wrong)


def test_a_field_has_the_unit_of_its_spacing():
    ax = ROUGH.plot(shape=(4, 6), seed=7)
    shown = ax.collections[0].get_array().reshape(4, 6)
    assert (shown == ROUGH((4, 6), seed=7)).all() and ax.get_aspect() == 1
    assert (ax.get_xlim(), ax.get_ylim()) == ((-0.25, 2.75), (-0.25, 1.75))
    for wrong in (5, (0, 5)):
        with pytest.raises(ValueError, match="^shape: expected"):
            ROUGH.plot(shape=wrong)


def test_nothing_is_drawn_where_no_table_gives_a_value():
    before = GAP.to_xml()
    shown = GAP.plot().collections[0].get_array()
    assert 0.3 < shown.mask.mean() < 0.36 and set(shown.compressed().round(9)) == {1, 2}
    assert GAP.to_xml() == before


@pytest.mark.parametrize(
    "shown",
    [CURVE, z.UnitaryMapContainer(z.SCurveUnitaryMap()), TENS, TENS.freeze(), DEEP, GAP, ROUGH],
)
def test_notebooks_get_a_picture(shown, monkeypatch):
    text = shown._repr_html_()
    picture = re.search(r'src="data:image/png;base64,([^"]+)"', text)
    assert image(io.BytesIO(base64.b64decode(picture[1]))).shape[:2] == (270, 400)
    assert not matplotlib.pyplot.get_fignums()
    monkeypatch.setitem(sys.modules, "matplotlib.figure", None)
    text = shown._repr_html_()
    assert text.startswith("<pre") and html.escape(repr(shown)) in text


@pytest.mark.parametrize(
    "shown",
    [
        z.Table(),
        z.CompositeBranch(),
        z.CompositeFunction(),
        z.Table(
            independent_data=[z.TableAxis(independent_vector=[0, numpy.inf])],
            dependent_data=[[1, 2]],
        ),
        z.Table(axes=([0, 1], [0, 1]), values=numpy.full((2, 2), numpy.nan)),
        z.MultipointScalarFunction(),
        z.RandomField(abs, num_random_samples=0),
        z.RandomField(lambda distance: 1 / 0),
        z.MultipointScalarFunction(domain_values=[numpy.nan, 1], range_values=[1]),
    ],
    ids=repr,
)
def test_what_cannot_be_drawn_is_named(shown):
    assert "</pre>" in shown._repr_html_()


def test_matplotlib_is_imported_late():
    code = "import sys, zeibreku; sys.exit('matplotlib' in sys.modules)"
    assert subprocess.run([sys.executable, "-c", code]).returncode == 0


@pytest.mark.parametrize(
    "name, printed",
    [
        ("fit", r"b5 +2\.21226\d+e-02 +2\.2122699662e-02\nsum of squares +5\.46489\d+e-05 "),
        ("table", r"drag 26\.14 at angle 2\.00, Mach 0\.600\n.* 0\.1624 per (.|\n)* 71\.45% "),
        ("field", r"deviation 5\.95 %\n.* expected 0\.282, measured 0\.265\nclouds cover 56%"),
    ],
)
def test_scripts(name, printed, tmp_path):
    run = subprocess.run(
        [sys.executable, str(SCRIPTS / f"{name}.py"), f"{name}.png"],
        env={**os.environ, "MPLBACKEND": "Agg"},
        cwd=tmp_path,
        capture_output=True,
        text=True,
    )
    assert run.returncode == 0, run.stderr
    assert re.search(printed, run.stdout), run.stdout
    image(tmp_path / f"{name}.png")
