"""Fits two exponentials to measurements, next to the published result.

    python3 examples/python/fit.py [PICTURE]

The data set is MGH17 of the NIST Statistical Reference Datasets. It and the optimizer's settings
are those of examples/09_fit.
"""

import pathlib
import sys

import matplotlib.pyplot as plt
import numpy

import zeibreku

folder = pathlib.Path(__file__).parents[1] / "09_fit"
x, y = numpy.loadtxt(folder / "mgh17.txt", comments=["#", "certified"], unpack=True)
certified = [3.7541005211e-01, 1.9358469127, -1.4646871366, 1.2867534640e-02, 2.2122699662e-02]


def model(b, x):
    return b[0] + b[1] * numpy.exp(-b[3] * x) + b[2] * numpy.exp(-b[4] * x)


def sum_of_squares(b):
    return numpy.sum((y - model(b, x)) ** 2)


start = [0.5, 1.5, -1.0, 0.01, 0.02]
progress = []
result = zeibreku.minimize(
    sum_of_squares,
    start,
    bounds=[(0, 1), (0, 10), (-10, 0), (0, 1), (0, 1)],
    scales=[1, 1, 1, 0.01, 0.01],
    optimizer=zeibreku.read(folder / "search.xml").optimizer,
    callback=progress.append,
)

print(f"{'':14}{'found':>18}{'certified':>18}")
for name, found, published in zip(("b1", "b2", "b3", "b4", "b5"), result.x, certified):
    print(f"{name:14}{found:18.10e}{published:18.10e}")
print(f"{'sum of squares':14}{result.fun:18.10e}{5.4648946975e-05:18.10e}")
print(f"{result.nfev} evaluations: {result.message}")

figure, (left, right) = plt.subplots(1, 2, figsize=(9.5, 4), layout="constrained")
many = numpy.linspace(x[0], x[-1], 500)
left.plot(many, model(start, many), "--", color="0.5", label="start")
left.plot(many, model(result.x, many), label="fit")
left.plot(x, y, "o", color="black", markersize=3.5, label="measured")
left.set(title="Two exponentials", xlabel="x", ylabel="y")
left.legend(frameon=False)
right.semilogy([step.evaluation for step in progress], [step.best_fun for step in progress])
right.set(title="Progress of the search", xlabel="evaluations", ylabel="best sum of squares")
for axes in (left, right):
    axes.grid(color="0.88")
figure.savefig(sys.argv[1] if len(sys.argv) > 1 else "fit.png")
