"""Makes random fields of humidity, measures their correlation, and maps one to clouds.

    python3 examples/python/field.py [PICTURE]

Relative humidity has a mean of 80 % and a standard deviation of 6 %, correlated over 10 km.
"""

import sys

import matplotlib.pyplot as plt
import numpy

import zeibreku

variance = 36.0  # of the humidity in percent


def covariance(distance):
    return variance * numpy.exp(-distance / 10)


humidity = zeibreku.RandomField(covariance, spacing=1.0, mean=80)  # km
fields = humidity((50, 100, 100), seed=1)  # 50 independent ones
print(f"mean {fields.mean():.2f} %, standard deviation {fields.std():.2f} %")

# Along both axes. A field is made on grids in random directions, so that the expected correlation
# is an average over them.
deviations = fields - 80
distances = numpy.arange(0, 25, 2)
measured = []
for step in distances:
    end = 100 - step
    along = deviations[:, :, step:] * deviations[:, :, :end]
    across = deviations[:, step:] * deviations[:, :end]
    measured.append((along.mean() + across.mean()) / 2 / variance)
turns = numpy.linspace(0, numpy.pi / 2, 401)
x, y = numpy.outer(distances, numpy.cos(turns)), numpy.outer(distances, numpy.sin(turns))
expected = (covariance(x) * covariance(y)).mean(axis=1) / variance**2
print(f"correlation over 10 km: expected {expected[5]:.3f}, measured {measured[5]:.3f}")

cover = zeibreku.SCurveUnitaryMap(center=0.8, center_slope=8)
clouds = cover(numpy.clip(fields[0] / 100, 0, 1))
print(f"clouds cover {clouds.mean():.0%}, and more than nine tenths of {(clouds > 0.9).mean():.0%}")

figure, (left, middle, right) = plt.subplots(1, 3, figsize=(11, 3.2), layout="constrained")
humidity.plot(left, seed=1, label="relative humidity, %")
left.set(title="A random field", xlabel="km", ylabel="km")
middle.plot(distances, covariance(distances) / variance, "--", color="0.5", label="given")
middle.plot(distances, expected, label="expected")
middle.plot(distances, measured, "o", color="black", markersize=4, label="measured")
middle.set(title="Correlation", xlabel="distance, km", ylabel="correlation")
middle.legend(frameon=False)
middle.grid(color="0.88")
extent = (0, 100, 0, 100)
shades = right.imshow(clouds, cmap="Blues_r", vmin=0, vmax=1, origin="lower", extent=extent)
figure.colorbar(shades, ax=right, label="cloud cover")
right.set(title="An S-curve of its values", xlabel="km", ylabel="km")
figure.savefig(sys.argv[1] if len(sys.argv) > 1 else "field.png")
