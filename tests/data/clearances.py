#!/usr/bin/env python3
"""Writes clearances.txt: random pairs of cranes and their 17 clearances, as hexadecimal floats.

A model of its own of the clearance arithmetic: single precision is made by rounding every double
result to a float, which is exact for +, -, *, / and the square root. Not part of the build; run it
by hand when the arithmetic itself is meant to change:  ./clearances.py > clearances.txt
"""
import math
import random
import struct


def f(x):
    return struct.unpack('f', struct.pack('f', x))[0]


def sub(a, b):
    return tuple(f(x - y) for x, y in zip(a, b))


def length(v):
    return f(math.sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]))


def normalized(v):
    square = v[0] * v[0] + v[1] * v[1] + v[2] * v[2]
    if abs(square - 1.0) <= 1e-12:
        return v
    if abs(square) <= 1e-12:
        return (0.0, 0.0, 0.0)
    root = math.sqrt(square)
    return tuple(f(x / root) for x in v)


def dot(a, b):
    return f(f(f(a[0] * b[0]) + f(a[1] * b[1])) + f(a[2] * b[2]))


def cross(a, b):
    def minor(i, k):
        return f(f(a[i] * b[k]) - f(a[k] * b[i]))
    return (minor(1, 2), minor(2, 0), minor(0, 1))


def to_segment(point, a, b):
    ab, ap = sub(b, a), sub(point, a)
    along = dot(ap, normalized(ab))
    if not along > 0:
        return length(ap)
    if length(ab) <= along:
        return length(sub(point, b))
    return f(length(cross(ap, ab)) / length(ab))


def between(p1, p2, q1, q2):
    low, high = q1, q2
    for _ in range(16):
        d_low, d_high = to_segment(low, p1, p2), to_segment(high, p1, p2)
        if abs(f(d_low - d_high)) < 0.01:
            return d_high
        middle = tuple(f(f(x + y) * 0.5) for x, y in zip(low, high))
        low, high = (low, middle) if d_low < d_high else (high, middle)
    return d_high


def wrapped(reading, reference):
    r = f(math.fmod(f(reference - reading), 360.0))
    return f(r + 360) if r < 0 else r


def opposite(reading, reference):
    turned = f(reference - 180)
    return wrapped(reading, f(turned + 360) if turned < 0 else turned)


def endpoint(x, radius, angle):
    radians = f(angle * f(0.017453292))
    return (f(x + radius * math.cos(radians)), f(0.0 + radius * math.sin(radians)))


def clearances(own, nb, distance):
    def parts(crane, x, phi):
        h = f(crane['craneheight'] + crane['foundation'])
        tip = endpoint(x, crane['armlen'], phi)
        hook = endpoint(x, crane['travel'], phi)
        rear = endpoint(x, crane['reararm'], f(phi + 180))
        return [((x, 0.0, h), tip + (h,)), ((x, 0.0, 0.0), (x, 0.0, h)),
                (hook + (h,), hook + (f(h - crane['height']),)), ((x, 0.0, h), rear + (h,))]
    own_phi = wrapped(own['rotation'], own['offset'])
    nb_phi = opposite(nb['rotation'], nb['offset'])
    plan = between((0.0, 0.0, 0.0), endpoint(0.0, own['armlen'], own_phi) + (0.0,),
                   (distance, 0.0, 0.0), endpoint(distance, nb['armlen'], nb_phi) + (0.0,))
    return [plan] + [between(*o, *n) for o in parts(own, 0.0, own_phi)
                     for n in parts(nb, distance, nb_phi)]


FIELDS = ['craneheight', 'foundation', 'armlen', 'reararm', 'height', 'travel', 'rotation', 'offset']


def crane(rng, whole):
    arm = rng.uniform(25, 75)
    record = dict(craneheight=rng.uniform(20, 80), foundation=rng.choice([0, 1.5]), armlen=arm,
                  reararm=rng.uniform(8, 20), travel=rng.uniform(2, arm),
                  height=rng.choice([0, rng.uniform(0, 60)]), rotation=rng.uniform(-30, 400),
                  offset=rng.uniform(0, 360))
    return {key: f(round(value) if whole else value) for key, value in record.items()}


def main():
    rng = random.Random(20240229)
    print('# ' + ' '.join('own.' + k for k in FIELDS) + ' ' + ' '.join('nb.' + k for k in FIELDS)
          + ' distance zone pair00 .. pair33')
    for row in range(120):
        own, nb = crane(rng, row % 4 == 0), crane(rng, row % 4 == 0)
        distance = f(rng.uniform(15, 120))
        values = [own[k] for k in FIELDS] + [nb[k] for k in FIELDS] + [distance]
        print(' '.join(v.hex() for v in map(float, values + clearances(own, nb, distance))))


main()
