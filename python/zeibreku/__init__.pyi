from zeibreku._core import AskTell as AskTell
from zeibreku._core import CompositeBranch as CompositeBranch
from zeibreku._core import CompositeFunction as CompositeFunction
from zeibreku._core import CompositeFunctionElement as CompositeFunctionElement
from zeibreku._core import Constraint as Constraint
from zeibreku._core import ConstraintContainer as ConstraintContainer
from zeibreku._core import Constraints as Constraints
from zeibreku._core import Element as Element
from zeibreku._core import EvaluationFailure as EvaluationFailure
from zeibreku._core import FrozenComposite as FrozenComposite
from zeibreku._core import FrozenTable as FrozenTable
from zeibreku._core import GaussQuadrature as GaussQuadrature
from zeibreku._core import HookeJeeves as HookeJeeves
from zeibreku._core import ImplicitFiltering as ImplicitFiltering
from zeibreku._core import LinearConstraint as LinearConstraint
from zeibreku._core import LinearScalarFunction as LinearScalarFunction
from zeibreku._core import MultidirectionalSearch as MultidirectionalSearch
from zeibreku._core import MultipointScalarFunction as MultipointScalarFunction
from zeibreku._core import NelderMead as NelderMead
from zeibreku._core import Optimizer as Optimizer
from zeibreku._core import OptimizerContainer as OptimizerContainer
from zeibreku._core import Optimizers as Optimizers
from zeibreku._core import PowerUnitaryMap as PowerUnitaryMap
from zeibreku._core import Progress as Progress
from zeibreku._core import QuadraticConstraint as QuadraticConstraint
from zeibreku._core import Record as Record
from zeibreku._core import SCurveUnitaryMap as SCurveUnitaryMap
from zeibreku._core import ScalarFunction as ScalarFunction
from zeibreku._core import ScalarFunctionContainer as ScalarFunctionContainer
from zeibreku._core import Search as Search
from zeibreku._core import SearchReport as SearchReport
from zeibreku._core import Sequence as Sequence
from zeibreku._core import Table as Table
from zeibreku._core import TableAxis as TableAxis
from zeibreku._core import UnitaryMap as UnitaryMap
from zeibreku._core import UnitaryMapContainer as UnitaryMapContainer
from zeibreku._core import Variable as Variable
from zeibreku._core import Variables as Variables
from zeibreku._core import __version__ as __version__
from zeibreku._documents import Message as Message
from zeibreku._documents import ReadError as ReadError
from zeibreku._documents import from_xml as from_xml
from zeibreku._documents import read as read
from zeibreku._documents import schema as schema
from zeibreku._fields import RandomField as RandomField
from zeibreku._lint import Finding as Finding
from zeibreku._lint import LintRule as LintRule
from zeibreku._lint import lint as lint
from zeibreku._lint import lint_rules as lint_rules
from zeibreku._searches import OptimizeResult as OptimizeResult
from zeibreku._searches import default_optimizer as default_optimizer
from zeibreku._searches import make_search as make_search
from zeibreku._searches import minimize as minimize

__all__ = [
    "Element",
    "Optimizer",
    "ScalarFunction",
    "UnitaryMap",
    "Constraint",
    "CompositeFunctionElement",
    "NelderMead",
    "HookeJeeves",
    "MultidirectionalSearch",
    "ImplicitFiltering",
    "Sequence",
    "LinearScalarFunction",
    "MultipointScalarFunction",
    "PowerUnitaryMap",
    "SCurveUnitaryMap",
    "LinearConstraint",
    "QuadraticConstraint",
    "TableAxis",
    "Table",
    "CompositeBranch",
    "GaussQuadrature",
    "Variable",
    "Search",
    "SearchReport",
    "OptimizerContainer",
    "ScalarFunctionContainer",
    "UnitaryMapContainer",
    "ConstraintContainer",
    "CompositeFunction",
    "Optimizers",
    "Constraints",
    "Variables",
    "FrozenTable",
    "FrozenComposite",
    "EvaluationFailure",
    "Progress",
    "Record",
    "AskTell",
    "Finding",
    "LintRule",
    "Message",
    "OptimizeResult",
    "RandomField",
    "ReadError",
    "__version__",
    "default_optimizer",
    "from_xml",
    "lint",
    "lint_rules",
    "make_search",
    "minimize",
    "read",
    "schema",
]
