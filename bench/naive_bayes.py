"""naive_bayes.py CLASSES ROUNDS: the nanoseconds that scikit-learn's naive Bayes takes for one prediction, a line
for each round. The model has learned samples of the features that the engine's has."""

import sys
import time

import numpy
from sklearn.naive_bayes import CategoricalNB

classes, rounds = int(sys.argv[1]), int(sys.argv[2])
random = numpy.random.default_rng(1)
sizes = [48, 2, classes, classes]
X = numpy.column_stack([random.integers(0, size, 3000) for size in sizes])
Y = numpy.concatenate([numpy.arange(classes), random.integers(0, classes, 3000 - classes)])
model = CategoricalNB(min_categories=sizes).fit(X, Y)

CALLS = 200
sample = X[:1]
for _ in range(rounds):
    begin = time.perf_counter_ns()
    for _ in range(CALLS):
        model.predict_proba(sample)
    print((time.perf_counter_ns() - begin) / CALLS)
