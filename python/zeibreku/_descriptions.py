"""Docstrings, written by scripts/python_stubs.py."""

DESCRIPTIONS = {
    'NelderMead': (
        'The simplex method of Nelder and Mead, with a test that rebuilds the simplex around its best vertex when progress stalls.',
        {
            'alpha': "Reflection coefficient: the reflected point is (1 + alpha) c - alpha worst. Range: alpha > 0, dimensionless; 1 by default. If alpha <= 0, the point does not pass c, and the search stalls. If alpha is NaN or infinite, every trial point is NaN, and the result may be too. Keep the default: 0.5 took five times the evaluations on Rosenbrock's function. Default: 1.",
            'beta': 'Contraction coefficient: the contracted point is beta base + (1 - beta) c. The base is the better one of the reflected point and the worst vertex. Range: 0 < beta < 1, dimensionless; 0.5 by default. With 0 the simplex becomes flat and the search stalls. A negative value contracts to the other side of c. If |beta| >= 1, contractions do not reduce the simplex; if beta is NaN or infinite, they fail. Then the simplex shrinks instead. Keep the default, also for large n. Default: 0.5.',
            'gamma': 'Expansion coefficient: the expanded point is gamma reflected + (1 - gamma) c. Range: gamma > 1, dimensionless; 2 by default. With 1 an expansion evaluates the reflected point again. Values from 0 to 1 reduce the step, and the search stalls. If gamma is negative, NaN or infinite, expansions fail at one evaluation each. Keep the default, also for large n. Default: 2.',
            'sigma': 'Shrink coefficient: a vertex moves to sigma vertex + (1 - sigma) best. Range: 0 < sigma < 1, dimensionless; 0.5 by default. With 0 all vertices coincide and the search stalls. If |sigma| >= 1, the simplex does not shrink. A negative value mirrors the vertices as well. If sigma is NaN or infinite, the vertices become NaN, and the result may be too. Keep the default, also for large n. Default: 0.5.',
            'stopping_threshold': 'The search ends when the worst minus the best value is below this threshold. Range: threshold >= 0, in units of the function; 1e-5 by default. With 0, a negative value or NaN only the budgets end the search. With infinity the search ends after one step. The threshold is absolute: set it to the smallest difference of values that matters to you. Default: 1e-05.',
            'max_total_steps': 'Largest number of steps of one search. Range: 1 to 4294967295; 200 by default. With 0 only the first simplex is evaluated. A restart is not a step. Set it to the budget or more if the budget shall end the search. Default: 200.',
            'max_function_evaluations': "Largest number of evaluations after the first simplex. Range: 1 to 4294967295; 300 by default. With 0 one step is made. A step that has begun is finished: a search exceeds its budget by at most n + 2, most of them a restart's. Set it to 50 (n + 1) or more. Default: 300.",
            'max_expansion_steps': 'Largest number of expansions that one search accepts; then it reflects. Range: 0 to 4294967295; 100 by default. With 0 expanded points are still evaluated, but never accepted. Set it to the budget or more if the start is far from the minimum. Default: 100.',
            'restart_check_period': 'The restart test runs after more than this number of evaluations on a simplex. Range: 0 to 4294967295; 25 by default. The n + 1 evaluations of the simplex count. With 0 every step runs the test; the largest value disables it. Increase it to 40 (n + 1): an early restart loses the shape of the simplex. Default: 25.',
            'eta': 'Factor of the decrease that the restart test expects. The test compares eta (F(i) - F(best))² / |v(i) - v(best)|² with the decrease. Range: eta >= 0, in units of coordinate² / function; 1e-4 by default. With 0 or less, only a rise of the worst value restarts. NaN disables the test. With infinity every test restarts unless all values are equal. Decrease it if restarts spend the budget. Default: 1e-04.',
            'simplex_edge_lengths': "Edge length of a new simplex along coordinate i. Range: finite and not 0, in units of coordinate i; empty by default. Lengths beyond n are ignored. With 0 the search never moves along the coordinate. A negative length puts the vertex behind the start. NaN or infinite lengths spoil the search, and the result may be NaN. Set it to about a tenth of the coordinate's size. Default: empty.",
            'default_simplex_edge_length': 'Edge length along each coordinate that simplex_edge_lengths does not list. Range: finite and not 0, in units of the coordinates; 0.01 by default. Other values act as in simplex_edge_lengths. Change it if the coordinates are of one size other than about 0.1. Default: 0.01.',
        },
    ),
    'HookeJeeves': (
        'The pattern search of Hooke and Jeeves, on one of four sets of directions.',
        {
            'reduction_factor': 'Factor of all steps at each contraction. Range: 0 < reduction_factor < 1, dimensionless; 0.5 by default. With 0 and negative values the search ends after one contraction. With 1 or more, NaN and infinity the steps never become small, and only the budget ends the search. Decrease it to 0.25 if the first steps may be far too long. Default: 0.5.',
            'min_total_reduction': 'The search ends when the steps are smaller than this share of the first ones. Range: 0 < min_total_reduction <= 1, dimensionless; 0.001 by default. With 0, a negative value or NaN only the budget ends the search. Above 1 the first failed exploration ends it. Set it to the precision of x that you need, over the edge length. Default: 0.001.',
            'max_function_evaluations': 'Largest number of evaluations, that at the start point included. Range: 2 to 4294967295; 300 by default. With 0 and 1 only the start point is evaluated. A pattern move may exceed the budget by one. Set it to 50 (n + 1) or more. Default: 300.',
            'edge_lengths': "First step along coordinate i, or the unit of coordinate i in modes with a matrix. Range: finite and not 0, in units of coordinate i; empty by default. Lengths beyond n are ignored. With 0 the search never moves along the coordinate. A negative length tries the backward step first. With NaN or infinity the coordinate's steps fail; in modes with a matrix all steps fail. Set it to about a tenth of the coordinate's size. Default: empty.",
            'default_edge_length': 'First step along each coordinate that edge_lengths does not list. Range: finite and not 0, in units of the coordinates; 0.01 by default. Other values act as in edge_lengths. Change it if the coordinates are of one size other than about 0.1. Default: 0.01.',
            'directions_mode': 'The set of directions: none the coordinate axes, axisAligned the axes as a matrix, random orthonormal and redrawn at each contraction, rotated turned pairwise. Range: these four; none by default. Choose rotated or random if the function has a valley across the axes and none stalls. Default: none.',
        },
    ),
    'MultidirectionalSearch': (
        'The multidirectional search of Torczon: a simplex method that moves all vertices but the best at once, so that every evaluation comes in a batch.',
        {
            'alpha': 'Reflection coefficient: a reflected point is (1 + alpha) best - alpha vertex. Range: alpha > 0, dimensionless; 1 by default. With 0 all reflected points are the best vertex; the simplex only contracts. A negative value puts them on the side of the vertex. If alpha is NaN or infinite, reflections fail, and the simplex only contracts. Keep the default: 1 keeps the size of the simplex. Default: 1.',
            'beta': "Contraction coefficient: a contracted point is (1 - beta) best + beta vertex. Range: 0 < beta < 1, dimensionless; 0.5 by default. With 0 all vertices coincide. If |beta| >= 1, the simplex does not contract, and the search stalls. A negative value mirrors the vertices as well. If beta is NaN or infinite, the vertices become NaN, and the result may be too. Try 0.75 if the search stalls: it helped on Powell's function, and not on Rosenbrock's. Default: 0.5.",
            'gamma': "Expansion coefficient: an expanded point is (1 + gamma) best - gamma vertex. Range: gamma > alpha, dimensionless; 2 by default. With alpha the reflected points are evaluated again. Below alpha, and for negative values, expansions reduce or mirror the simplex. If gamma is NaN or infinite, the vertices become NaN after the first success, and the search stalls. Keep the default: values from 1.2 to 3 gave similar results on Powell's function. Default: 2.",
            'stopping_threshold': 'The search ends when the worst minus the best value is below this threshold. Range: threshold >= 0, in units of the function; 1e-5 by default. With 0, a negative value or NaN only the budget ends the search. With infinity the search ends after one step. The threshold is absolute: set it to the smallest difference of values that matters to you. Default: 1e-05.',
            'max_function_evaluations': 'Largest number of evaluations after the first simplex. Range: 1 to 4294967295; 300 by default. With 0 only the first simplex is evaluated. A step of 2n that has begun is finished, so a search may exceed its budget by 2n - 1. Set it to 100 (n + 1) or more. Default: 300.',
            'simplex_edge_lengths': "Edge length of the first simplex along coordinate i. Range: finite and not 0, in units of coordinate i; empty by default. Lengths beyond n are ignored. With 0 the search never moves along the coordinate. A negative length puts the vertex behind the start. With NaN or infinity the vertex is never finite, and the search may stall. Set it to about a tenth of the coordinate's size. Default: empty.",
            'default_simplex_edge_length': 'Edge length along each coordinate that simplex_edge_lengths does not list. Range: finite and not 0, in units of the coordinates; 0.01 by default. Other values act as in simplex_edge_lengths. Change it if the coordinates are of one size other than about 0.1. Default: 0.01.',
        },
    ),
    'ImplicitFiltering': (
        'Implicit filtering: steepest descent on central differences whose width shrinks as the search comes closer, so that noise on a smaller scale than the differences is filtered out.',
        {
            'line_search_alpha': 'Sufficient decrease: a step x - lambda g must gain more than line_search_alpha lambda g2. Range: 0 <= line_search_alpha < 1, dimensionless; 1e-4 by default. With 0 any decrease is enough. A negative value accepts increases. Values from 1 on, infinity and NaN reject most or all steps, and the stencil only shrinks. Increase it to 0.01 if noise is accepted as a decrease. Default: 1e-04.',
            'line_search_beta': 'Factor of the step length lambda after each trial that is rejected. Range: 0 < line_search_beta < 1, dimensionless; 0.5 by default. With 0 and with 1 all further trials of a line search are the same point. Values above 1, NaN and infinity move away from the minimum, and only first trials succeed. A negative value changes sides at each trial. Decrease it to 0.25, with fewer trials, if line searches spend the budget. Default: 0.5.',
            'line_search_max_iterations': 'Largest number of trials of one line search. Range: 1 to 4294967295; 25 by default. With 0 the stencil moves to its lowest point and shrinks. Decrease it to 8 if line searches spend the budget. Default: 25.',
            'line_search_initial_lambda_multiplier': 'The first lambda is this multiplier over the largest |gradient / width|. So the first trial moves the steepest coordinate by this number of widths. Range: multiplier > 0, dimensionless; 10 by default. If it is 0, negative, NaN or infinite, line searches fail, and the stencil moves to its lowest point and shrinks. Decrease it to 1 if most first trials are rejected. Default: 10.',
            'tau': 'Small-gradient test: the stencil shrinks if (tau h)² > g2 for its largest width h. Range: tau >= 0, in units of function / coordinate²; 0.01 by default. With 0 and NaN only failed line searches shrink the stencil; with infinity every step does. The sign has no effect. Set it to about the curvature of the function below which its slope is noise. Default: 0.01.',
            'simplex_scale_factor': "Factor of the stencil's widths when it shrinks. Range: 0 < simplex_scale_factor < 1, dimensionless; 0.5 by default. With 0, NaN and infinity all further steps fail. If the magnitude is 1 or more, the stencil does not shrink. The sign only exchanges the two sides. Try 0.75 if a search shrinks too early: it helped on Powell's function, and not on Rosenbrock's. Default: 0.5.",
            'max_function_evaluations': 'Largest number of evaluations after the first stencil. Range: 1 to 4294967295; 300 by default. With 0 only the first stencil is evaluated. A line search that has begun and the stencil after it are finished. So a search may exceed its budget by line_search_max_iterations + 2n. Set it to 100 (n + 1) or more. Default: 300.',
            'simplex_edge_lengths': "Half the width of the first stencil along coordinate i. Range: finite and not 0, in units of coordinate i; empty by default. Lengths beyond n are ignored. With 0 the search never moves along the coordinate. The sign only exchanges the two sides. With NaN or infinity the gradient is NaN and line searches fail. Set it above the scale of the noise, to about a tenth of the coordinate's size. Default: empty.",
            'default_simplex_edge_length': 'Half the width along each coordinate that simplex_edge_lengths does not list. Range: finite and not 0, in units of the coordinates; 0.01 by default. Other values act as in simplex_edge_lengths. Change it if the coordinates are of one size other than about 0.1. Default: 0.01.',
        },
    ),
    'Sequence': (
        'Runs a list of optimizers, sequences among them, for a number of passes.',
        {
            'number_passes': "Number of runs of the whole list. Range: 1 to 4294967295; 1 by default. With 0 the start point is evaluated and returned. Increase it if the optimizers profit from each other's results. Default: 1.",
            'optimizer_sequence': 'The optimizers in the order in which they run. If the list is empty, as by default, the start point is evaluated and returned. Default: empty.',
            'execute_in_parallel': 'Whether all optimizers of a pass start from the same point. The default is false, a chain. Set it to true for a function with several minima. Default: false.',
        },
    ),
    'LinearScalarFunction': (
        'The straight line through (0, start_value) and (1, end_value).',
        {
            'start_value': 'The value f(0), in the unit of the function. Default: 0. Admissible: -INF < start_value < INF. An infinite value makes f infinite, and NaN at x = 1; a NaN makes f NaN everywhere. Change it to shift the left end of the line.',
            'end_value': 'The value f(1), in the unit of the function. Default: 1. Admissible: -INF < end_value < INF. An infinite value makes f infinite, and NaN at x = 0; a NaN makes f NaN everywhere. Change it to set the slope, end_value - start_value.',
        },
    ),
    'MultipointScalarFunction': (
        'The piecewise linear function through the points (x(k), y(k)), which extrapolates its first and its last segment.',
        {
            'range_values': 'The values y(k), one for each abscissa, in the unit of the function. Default: empty. Admissible: -INF < y(k) < INF. An infinite or NaN value makes f infinite or NaN on both neighbouring segments. Change them to change f without moving its bends.',
            'domain_values': 'The abscissae x(k), ascending, in the unit of x. Default: empty. Admissible: -INF < x(0) < x(1) < ... < INF, not checked. Out of order, f uses the first segment whose end is not below x. A segment with an infinite or NaN end gives NaN, and so does every x beyond a NaN abscissa. Add points where f bends.',
        },
    ),
    'PowerUnitaryMap': (
        "The power f(x) = x^exponent, computed by the C library's pow.",
        {
            'exponent': 'The exponent of f(x) = x^exponent, a pure number. Default: 1. Admissible: 0 < exponent < INF, not checked. 0 makes f the constant 1. A negative exponent makes f(0) infinite. INF makes f 0 below x = 1. NaN makes f NaN except at x = 1. Raise it above 1 to flatten the curve near 0; lower it below 1 to steepen it there.',
        },
    ),
    'SCurveUnitaryMap': (
        'An S-shaped map through (0, 0), (center, 0.5) and (1, 1) with given slopes at the three points, made of two rational pieces.',
        {
            'center': 'The x at which f is 0.5, inside (0, 1). Default: 0.5. Admissible: 0 < center < 1. Outside, and for NaN, f is the identity, with a message. Within 1e-9 of 0 or 1, rounding can make f NaN on the shorter side. Move it to shift the steep part.',
            'initial_slope': 'The slope of f at x = 0, a pure number. Default: 0. Admissible: 0 <= initial_slope < 0.5 / center. A greater slope is clamped to 0.5 / center - 1e-7. With a negative slope f falls below 0 first. NaN makes f NaN below the centre; -INF makes it NaN everywhere. Raise it for a response that starts at once.',
            'final_slope': 'The slope of f at x = 1, a pure number. Default: 0. Admissible: 0 <= final_slope < 0.5 / (1 - center). A greater slope is clamped to 0.5 / (1 - center) - 1e-7. With a negative slope f exceeds 1 before x = 1. NaN makes f NaN from the centre on; -INF makes it NaN everywhere. Raise it for a response that does not level off.',
            'center_slope': 'The slope of f at the centre, from both sides, a pure number. Default: 4. Admissible: center_slope > max(1 / center - s0, 1 / (1 - center) - s1), with s0 and s1 the clamped end slopes. A lesser slope, negative ones included, is raised to that bound plus 1e-7. NaN or INF makes f NaN. Above 1e9 rounding shows at the centre. Raise it for a sharper step.',
        },
    ),
    'LinearConstraint': (
        'The affine constraint c(x) = offset + sum of a(i) x(i).',
        {
            'offset': 'The value at the origin, c(0). It has the unit of c and is 0 by default. Range: -inf < offset < inf, unchecked. If it is NaN or infinite, no value is finite, and the gradient is unaffected. Change it to move the contour c = 0: the limit a(0) x(0) <= b has the offset -b. Default: 0.',
            'first_order_indices': 'The indices i that have an a(i), counted from 0, in any order. Range: 0 <= i < n for a point of n components. An index beyond the point is left out of the sum. If an index is listed repeatedly, the first listing counts. List each component on which c depends linearly. Default: empty.',
            'first_order_coefficients': 'The coefficients a(i) of these indices, position for position. Unit: that of c per unit of x(i). Range: -inf < a(i) < inf, unchecked: NaN and infinities enter the sum. If the list is shorter than that of the indices, the missing coefficients are 0. If it is longer, the rest is ignored. Change a(i) for another slope along x(i). Default: empty.',
        },
    ),
    'QuadraticConstraint': (
        'The quadratic constraint c(x) = offset + sum of a(i) x(i) + sum of q(i, j) x(i) x(j), i <= j.',
        {
            'offset': 'The value at the origin, c(0). It has the unit of c and is 0 by default. Range: -inf < offset < inf, unchecked. If it is NaN or infinite, no value is finite, and the gradient is unaffected. Change it to move the contour c = 0: the limit a(0) x(0) <= b has the offset -b. Default: 0.',
            'first_order_indices': 'The indices i that have an a(i), counted from 0, in any order. Range: 0 <= i < n for a point of n components. An index beyond the point is left out of the sum. If an index is listed repeatedly, the first listing counts. List each component on which c depends linearly. Default: empty.',
            'first_order_coefficients': 'The coefficients a(i) of these indices, position for position. Unit: that of c per unit of x(i). Range: -inf < a(i) < inf, unchecked: NaN and infinities enter the sum. If the list is shorter than that of the indices, the missing coefficients are 0. If it is longer, the rest is ignored. Change a(i) for another slope along x(i). Default: empty.',
            'second_order_index_pairs': 'The pairs (i, j) that have a q(i, j), each once, the smaller index first. Range: 0 <= i <= j < n for a point of n components. A pair with i > j or beyond the point is left out of the sum. If a pair is listed repeatedly, the first listing counts. List each product on which c depends. Default: empty.',
            'second_order_coefficients': 'The coefficients q(i, j) of these pairs, position for position. Unit: that of c per unit of x(i) x(j). Range: -inf < q(i, j) < inf, unchecked: NaN and infinities enter the sum. If the list is shorter than that of the pairs, the missing coefficients are 0. If it is longer, the rest is ignored. Change q(i, j) for another curvature. Default: empty.',
        },
    ),
    'TableAxis': (
        'One dimension of a table in a document: its breakpoints and how they are searched.',
        {
            'independent_vector': 'The breakpoints v(k), strictly monotone, in the unit of the variable. Default: empty. Admissible: two or more, all v(k) < v(k+1) or all v(k) > v(k+1), finite, not checked. One breakpoint makes a constant, none gives NaN. Out of order, a look-up finds some segment of the table. Equal, infinite or NaN neighbours give infinite or NaN values between them.',
            'search_option': 'How the segment is found: linear walks from the one found last, bisection halves the table, equal_spaced computes it. Default: linear. linear assumes breakpoints 1 apart. Choose bisection for any other table, and equal_spaced only if every step v(k+1) - v(k) equals the first, which is not checked. Another text is refused.',
            'lower_boundary_option': 'The behaviour before the first breakpoint: limit holds its value, extrapolate extends the first segment. Default: limit. Another text is refused. "First" is as stored: of a descending table it is the largest breakpoint.',
            'upper_boundary_option': 'The behaviour beyond the last breakpoint: limit holds its value, extrapolate extends the last segment. Default: limit. Another text is refused. "Last" is as stored: of a descending table it is the smallest breakpoint.',
        },
    ),
    'Table': (
        'Tables over a grid as a composite function: multilinear interpolation of one value for each table.',
        {
            'independent_data': 'The dimensions of the grid: breakpoints and options of each. Default: empty. Admissible: 0 <= dimensions <= 64. With none the function is constant; with more than 64 reading and writing are refused. A dimension without breakpoints makes all values NaN. Add a dimension if the values depend on one more variable.',
            'dependent_data': 'One flat table for each dependent value, the first dimension varying fastest. Default: empty. Admissible: size >= n0 n1 ... of the numbers of breakpoints, in the unit of the value, not checked. Values beyond that are ignored; cells that lack a value give NaN. An infinite or NaN value makes each cell at its corner infinite or NaN. Add a table for a further value over the same grid: one look-up then serves both.',
        },
    ),
    'CompositeBranch': (
        'Joins two composite functions.',
        {
        },
    ),
    'GaussQuadrature': (
        'Gauss-Legendre quadrature: the integral of a function over [a, b] as a weighted sum.',
        {
            'order': 'The number n of nodes: 2 to 20, 32, 64, 96, 100 or 128. Default: 10. A document may hold any other order, which order returns; integrate then keeps the last supported order that was set, or 10 if none was. Xml::readFile and fromString replace the object, so that it is 10. Raise it if the error is too large; of a smooth f a dozen nodes usually reach rounding.',
        },
    ),
    'Variable': (
        'One unknown of a search: where it starts, its bounds, and its scale.',
        {
            'name': "The variable's name, unique in its search: letters, digits, underscores, hyphens and dots, at least one of them. Default: empty, which a search refuses.",
            'start': "The coordinate x0 at which the search starts, in the variable's own unit. It is finite. A start outside the bounds is moved onto the nearer one, with a message. Default: 0.",
            'lower': 'The lower bound: no evaluation is below it. It is at most upper; -INF is no bound. Default: -INF.',
            'upper': 'The upper bound: no evaluation is above it. INF is no bound. Default: INF.',
            'scale': 'The size s of a typical change of x, from 3e-151 to 3e150. The optimizer works on x / s, with s rounded to the nearest power of two, so that one edge length fits all variables and nothing is rounded. Change it if the variables differ by orders of magnitude. Default: 1.',
        },
    ),
    'Search': (
        'A search as people run it: variables with bounds and scales, an optimizer, constraints, and limits.',
        {
            'variables': "The unknowns, in the order of a point's coordinates. Default: empty, which is refused.",
            'optimizer': 'The optimizer that searches. Default: empty, which is refused.',
            'constraints': 'The constraints c: a point is feasible where c(x) <= 0 for all of them. Default: empty.',
            'maximise': 'Whether the search is for a maximum. Default: false.',
            'max_evaluations': 'The largest number of evaluations that the search asks for, wherever the values come from; 0 is no limit. Default: 0.',
            'max_seconds': 'The time limit of one run in seconds, at least 0; INF is no limit. An evaluation that is under way is waited for. Default: INF.',
            'target_value': 'The value at which a feasible point is good enough: the search ends as soon as one is at most this, or at least this if maximise is true. NaN is no target. Default: NaN.',
            'stall_evaluations': 'The search ends if the best value improves by no more than stall_improvement of its magnitude in this many evaluations; 0 is no such limit. Default: 0.',
            'stall_improvement': 'The improvement that counts as none, relative to the best value; at least 0. Default: 0.',
            'failure_value': 'The value that the optimizer gets where the function fails: where it is NaN or infinitely good, or throws EvaluationFailure. NaN is the worst finite value so far, and 1e100 before there is one (-1e100 if maximise is true). If the first 2n + 1 evaluations fail, the search ends as failed. Default: NaN.',
            'constraint_weight': 'The penalty of a violation of 1 of one constraint, in units of the function; at least 0 and finite. Increase it if the answer violates a constraint. Default: 1000.',
            'remember': 'Whether a point that was evaluated before gets its value without a call. Default: true.',
            'seed': 'The seed of the random stream that the optimizer draws from. Default: 1.',
        },
    ),
    'SearchReport': (
        'How a search ended, and what it found.',
        {
            'reason': 'Why the search ended: finished, target, stalled, evaluations, time, cancelled or failed. Default: failed.',
            'best_point': 'The best feasible point of all evaluations, in physical coordinates; empty if there is none. Default: empty.',
            'best_value': "The function's own value at best_point; NaN if there is none. Default: NaN.",
            'answer_point': 'The point that the optimizer returned, in physical coordinates and inside the bounds; empty if it did not return. Default: empty.',
            'answer': "The function's own value at answer_point, without penalties. If the function fails there and the search does not remember, it is what stood in for the value. Default: NaN.",
            'evaluations': 'How many evaluations the search asked for, wherever their values came from. Default: 0.',
            'evaluations_made': 'How many evaluations were made in this run. Default: 0.',
            'evaluations_from_record': 'How many evaluations took their value from the record. Default: 0.',
            'evaluations_speculated': 'How many evaluations ended before the search asked for their points, those that it never asked for included. Default: 0.',
            'failures': 'How many of the evaluations failed. Default: 0.',
            'seconds': 'How long this run took, in seconds. Default: 0.',
        },
    ),
    'OptimizerContainer': (
        'A container of one optimizer, to which it forwards searches.',
        {
        },
    ),
    'ScalarFunctionContainer': (
        'A container of one function, to which it forwards evaluation.',
        {
        },
    ),
    'UnitaryMapContainer': (
        'A container of one map, to which it forwards evaluation.',
        {
        },
    ),
    'ConstraintContainer': (
        'A container of one constraint, to which it forwards evaluation.',
        {
        },
    ),
    'CompositeFunction': (
        'Owns and evaluates a composite function: a table, or a tree of branches over tables that cover different regions.',
        {
        },
    ),
    'Optimizers': (
        'A list of optimizers, in document order.',
        {
        },
    ),
    'Constraints': (
        'A list of constraints, in document order.',
        {
        },
    ),
    'Variables': (
        "The unknowns of a search, in the order of a point's coordinates.",
        {
        },
    ),
}
