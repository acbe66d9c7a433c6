"""The rules that every element follows."""

import copy
import inspect
import logging
import os
import pickle
import threading

import numpy
import pytest

import zeibreku as z
from conftest import EXAMPLES


def test_every_element_has_an_example():
    families = {"Element", "Optimizer", "ScalarFunction", "UnitaryMap", "Constraint"}
    families.add("CompositeFunctionElement")
    elements = {n for n, c in vars(z).items() if isinstance(c, type) and issubclass(c, z.Element)}
    assert elements - families == {type(e).__name__ for e in EXAMPLES}


def test_copies_are_equal_and_independent(element):
    for twin in [
        copy.copy(element),
        copy.deepcopy(element),
        pickle.loads(pickle.dumps(element)),
        z.from_xml(element.to_xml()),
        type(element).from_xml(element.to_xml()),
        type(element)(**element.get_params()),
        eval(repr(element), vars(z)),
        type(element)().set_params(**element.get_params()),
    ]:
        assert type(twin) is type(element)
        assert twin == element and not twin != element
        assert twin.to_xml() == element.to_xml()
    if element.get_params():
        assert element != type(element)()
    assert element != 1


def test_files_and_schema(element, tmp_path):
    path = tmp_path / "ä.xml"
    element.write(path)
    assert z.read(path) == element == type(element).read(str(path))
    assert path.read_text() == element.to_xml()
    assert "<xs:schema" in type(element).schema() and "<xs:schema" in z.schema()
    with pytest.raises(OSError, match="nowhere"):
        element.write(tmp_path / "nowhere" / "x.xml")


@pytest.mark.parametrize("encoding", ["ISO-8859-1", "UTF-8", "utf-16"])
def test_the_encoding_of_a_file_is_none_of_a_text(encoding):
    text = z.Variable(name="ä").to_xml().replace("UTF-8", encoding)
    assert z.from_xml(text) == z.from_xml(text.encode(encoding)) == z.Variable(name="ä")


def test_a_wrong_name_is_named(element):
    with pytest.raises(TypeError, match="alfa"):
        type(element)(alfa=1.0)
    with pytest.raises(AttributeError, match="alfa"):
        element.alfa = 1.0


def test_an_unknown_keyword_suggests():
    with pytest.raises(TypeError, match="NelderMead: .*'alfa'; did you mean 'alpha'"):
        z.NelderMead(alfa=1.0)


@pytest.mark.parametrize(
    "name, value, exception, text",
    [
        ("alpha", "1", TypeError, "expected a number, got '1'"),
        ("alpha", None, TypeError, "expected a number, got None"),
        ("alpha", numpy.complex64(1), TypeError, r"expected a number, got \(1\+0j\)"),
        ("alpha", numpy.array("1.5"), TypeError, "expected a number, got array"),
        ("alpha", 10**400, ValueError, "too large"),
        ("max_total_steps", 1.5, TypeError, "expected an integer, got 1.5"),
        ("max_total_steps", -1, ValueError, "from 0 to 4294967295, got -1"),
        ("max_total_steps", 2**32, ValueError, "from 0 to 4294967295"),
        ("simplex_edge_lengths", 1.0, ValueError, r"1 dimension.*shape \(\)"),
        ("simplex_edge_lengths", [[1.0]], ValueError, r"shape \(1, 1\)"),
        ("simplex_edge_lengths", [1j], TypeError, "complex128"),
        ("simplex_edge_lengths", ["1"], TypeError, "dtype <U1"),
    ],
)
def test_a_wrong_value_is_named(name, value, exception, text):
    element = z.NelderMead()
    for change in (
        lambda: setattr(element, name, value),
        lambda: z.NelderMead(**{name: value}),
        lambda: element.set_params(beta=0.25, **{name: value}),
    ):
        with pytest.raises(exception, match=f"^{name}: .*{text}"):
            change()
    assert element == z.NelderMead()


@pytest.mark.parametrize(
    "change, text",
    [
        (lambda: z.HookeJeeves(directions_mode="up"), "directions_mode: .*'rotated'.*got 'up'"),
        (lambda: z.Sequence(optimizer_sequence=[z.TableAxis()]), r"optimizer_sequence\[0\]: .*Opt"),
        (lambda: z.Sequence(execute_in_parallel=1), "execute_in_parallel: expected True or False"),
        (lambda: z.Sequence(execute_in_parallel=type("bool_", (), {})()), "parallel: expected"),
        (lambda: z.Search(optimizer=z.LinearConstraint()), "optimizer: expected an Optimizer, got"),
        (lambda: z.Table(dependent_data=[["a"]]), r"dependent_data\[0\]: "),
        (lambda: z.Variable(name=1), "name: expected a string, got 1"),
        (lambda: z.Variable(name="\ud800"), r"^name: expected text.*, got '\\ud800'"),
        (lambda: z.from_xml("\ud800"), "^text: expected text"),
        (lambda: z.NelderMead(0.5), r"^NelderMead: expected keywords, such as alpha=, got \(0.5,"),
        (lambda: z.GaussQuadrature(7, order=7), r"^GaussQuadrature: expected one arg.*\(7"),
        (lambda: z.Optimizers(1), "^elements: expected a list of elements, got 1"),
        (lambda: z.LinearConstraint(first_order_indices=[0.5]), "first_order_indices: .*float64"),
        (lambda: z.LinearConstraint(first_order_indices=[-1]), "first_order_indices: .*0 to"),
        (lambda: z.NelderMead.from_xml(z.HookeJeeves().to_xml()), "NelderMead, found HookeJeeves"),
    ],
)
def test_a_wrong_part_is_named(change, text):
    with pytest.raises((TypeError, ValueError), match=text):
        change()


def test_signatures_are_those_of_the_constructors(element):
    parameters = inspect.signature(type(element)).parameters
    given = {name: p.default for name, p in parameters.items() if name not in ("axes", "values")}
    assert list(given) == list(element._components)
    assert type(element)(**given) == type(element)()


class Mine(z.NelderMead):
    def __init__(self, size):
        super().__init__(alpha=size)


def test_a_subclass():
    mine = Mine(2)
    assert repr(mine) == "Mine(alpha=2.0)" and Mine.schema() == z.NelderMead.schema()
    assert list(inspect.signature(Mine).parameters) == ["size"]
    for copied in (copy.copy(mine), copy.deepcopy(mine), pickle.loads(pickle.dumps(mine))):
        assert type(copied) is z.NelderMead and copied == z.NelderMead(alpha=2)
    assert z.Optimizer.schema() == z.schema()


@pytest.mark.parametrize("call", [z.read, z.lint])
def test_a_pipe_is_opened_once(call, tmp_path):
    pipe = tmp_path / "pipe"
    os.mkfifo(pipe)
    text = z.LinearScalarFunction(end_value=2).to_xml()
    writer = threading.Thread(target=pipe.write_text, args=(text,))
    writer.start()
    assert call(pipe) == (z.from_xml(text) if call is z.read else ())
    writer.join()


def test_an_element_may_become_its_own_part():
    chain = z.Sequence(optimizer_sequence=[z.NelderMead(alpha=3.0)])
    expected = z.Sequence(optimizer_sequence=[chain])
    chain.optimizer_sequence = [chain]
    assert chain == expected


def test_an_object_without_init_is_refused():
    for made in (z.NelderMead.__new__(z.NelderMead), z.FrozenTable.__new__(z.FrozenTable)):
        with pytest.raises(TypeError, match="__init__"):
            repr(made)


def test_generators():
    chain = z.Sequence().set_params(optimizer_sequence=(z.NelderMead() for _ in range(2)))
    assert len(chain.optimizer_sequence) == 2
    with pytest.raises(ZeroDivisionError):
        z.Sequence(optimizer_sequence=(z.NelderMead(alpha=1 / 0) for _ in range(1)))


def test_parts_are_read_only_copies():
    sequence = z.Sequence(optimizer_sequence=[z.NelderMead(alpha=2.0)])
    part = sequence.optimizer_sequence[0]
    with pytest.raises(AttributeError, match="'optimizer_sequence'.*read-only"):
        part.alpha = 3.0
    changed = copy.copy(part)
    changed.alpha = 3.0
    sequence.optimizer_sequence = [part, changed]
    assert [o.alpha for o in sequence.optimizer_sequence] == [2.0, 3.0]
    with pytest.raises(ValueError, match="read-only"):
        z.NelderMead(simplex_edge_lengths=[1.0]).simplex_edge_lengths[0] = 2.0
    del sequence
    assert part.alpha == 2.0


def test_repr_names_long_lists_only():
    assert repr(z.NelderMead(alpha=2)) == "NelderMead(alpha=2.0)"
    assert repr(z.Search(target_value=float("nan"))) == "Search()"
    negative = z.LinearScalarFunction(start_value=-0.0)
    assert repr(negative) == "LinearScalarFunction(start_value=-0.0)"
    lengths = numpy.arange(20.0)
    typed = eval(repr(z.NelderMead(simplex_edge_lengths=lengths)), vars(z))
    assert typed.simplex_edge_lengths[19] == 19
    long = z.NelderMead(simplex_edge_lengths=numpy.arange(21.0))
    assert "<21 numbers>" in repr(long)
    assert long != z.NelderMead(simplex_edge_lengths=numpy.arange(1.0, 22.0))


BAD = """<sequenceOptimizer xmlns="urn:zeibreku:function#">
  <numberPasses>x</numberPasses>
  <surprise/>
</sequenceOptimizer>"""


def test_read_error_has_every_message_and_place(tmp_path, caplog):
    path = tmp_path / "bad.xml"
    path.write_text(BAD)
    for read, file in ((lambda: z.from_xml(BAD), "<string>"), (lambda: z.read(path), str(path))):
        with pytest.raises(z.ReadError, match="numberPasses(.|\n)*surprise") as caught:
            read()
        places = [(m.file, m.line, m.column) for m in caught.value.messages]
        assert places == [(file, 2, 3), (file, 3, 3)]
        again = pickle.loads(pickle.dumps(caught.value))
        assert again.messages == caught.value.messages
    assert not caplog.records
    with pytest.raises(z.ReadError, match="<string>:1:"):
        z.from_xml("")
    with pytest.raises(FileNotFoundError):
        z.read(tmp_path / "none.xml")
    for use in (z.read, z.NelderMead.read, z.NelderMead().write):
        with pytest.raises(TypeError, match="^path: expected a path, got 3"):
            use(3)


def test_warnings_go_to_logging(caplog):
    text = z.NelderMead(simplex_edge_lengths=[1.0]).to_xml().replace('count="1"', 'count="2"')
    with caplog.at_level(logging.WARNING, "zeibreku"):
        z.from_xml(text)
    assert [(r.name, r.levelname) for r in caplog.records] == [("zeibreku", "WARNING")]


def test_documents_are_written_without_the_gil(tmp_path):
    """While one thread writes documents, another one changes the element."""
    table = z.Table(axes=(numpy.arange(2000.0),), values=numpy.zeros(2000))
    other = z.Table(axes=(numpy.arange(3.0),), values=[1, 2, 3])
    small = other.independent_data, other.dependent_data
    large = table.independent_data, table.dependent_data
    done = threading.Event()
    texts = set()

    def write():
        for _ in range(50):
            texts.add(table.to_xml())
            table.write(tmp_path / "table.xml")
        done.set()

    thread = threading.Thread(target=write)
    thread.start()
    while not done.is_set():
        for axes, values in (small, large):
            table.independent_data = axes
            table.dependent_data = values
    thread.join()
    assert len(texts) > 1
    z.read(tmp_path / "table.xml")
