"""Finds a wing's best flight conditions in a table of its coefficients.

    python3 examples/python/table.py [PICTURE]

The coefficients are those of examples/11_aerodynamic_table: lift, drag and moment over the angle of
attack in degrees and the Mach number.
"""

import pathlib
import sys
from concurrent.futures import ThreadPoolExecutor

import matplotlib.pyplot as plt
import numpy

import zeibreku

path = pathlib.Path(__file__).parents[1] / "11_aerodynamic_table" / "wing.csv"
rows = numpy.loadtxt(path, delimiter=",", skiprows=2)
angles, machs = numpy.unique(rows[:, 0]), numpy.unique(rows[:, 1])
coefficients = rows[:, 2:].reshape(len(machs), len(angles), 3).swapaxes(0, 1)
wing = zeibreku.Table(axes=(angles, machs), values=coefficients).freeze()

# A frozen table never changes, so that threads share it. Each takes the flights of some angles.
fine = numpy.meshgrid(numpy.linspace(-4, 16, 801), numpy.linspace(0.2, 0.85, 651), indexing="ij")
flights = numpy.stack(fine, axis=-1)
with ThreadPoolExecutor(2) as executor:
    parts = list(executor.map(wing.value_and_gradient, numpy.array_split(flights, 8)))
values = numpy.concatenate([value for value, _ in parts])
slopes = numpy.concatenate([gradient for _, gradient in parts])[..., 0]  # per degree

ratio = values[..., 0] / values[..., 1]
best = numpy.unravel_index(ratio.argmax(), ratio.shape)
steepest = numpy.unravel_index(slopes[..., 0].argmax(), ratio.shape)
angle, mach = flights[best]
print(f"best lift/drag {ratio[best]:.2f} at angle {angle:.2f}, Mach {mach:.3f}")
steep_angle, steep_mach = flights[steepest]
print(f"steepest lift {slopes[steepest][0]:.4f} per degree", end=" ")
print(f"at angle {steep_angle:.2f}, Mach {steep_mach:.3f}")
print(f"stable in {(slopes[..., 2] < 0).mean():.2%} of {ratio.size} flights")

figure, (left, right) = plt.subplots(1, 2, figsize=(9.5, 4), layout="constrained")
wing.plot(left, value=1, norm="log", label="drag coefficient")
left.plot(angle, mach, "o", color="white")
left.text(angle + 0.5, mach, "best lift / drag", color="white", va="center")
left.set(title="Drag", xlabel="angle of attack, degrees", ylabel="Mach number")
many = numpy.linspace(-4, 16, 401)
for mach in (0.2, 0.6, 0.8):
    lift, drag, _ = wing((many, mach)).T
    right.plot(many, lift / drag, label=f"Mach {mach}")
right.set(title="Lift over drag", xlabel="angle of attack, degrees", ylabel="lift / drag")
right.set(xlim=(-4, 16), xticks=range(-4, 17, 4))
figure.get_layout_engine().set(w_pad=0.15)
right.legend(frameon=False)
right.grid(color="0.88")
figure.savefig(sys.argv[1] if len(sys.argv) > 1 else "table.png")
