# The project's own attack; docs/robustness.md says what each part is for.
#
# make fuzz        run every fuzz target for a minute (SECONDS=N, TARGETS="model trace ..."); FUZZ_SANITIZE= does
#                  without the sanitizers, in a build of its own, and tries several times as many inputs
# make faults      let one call of the C library fail after the other, and judge what survives
# make soak        a simulated year, ten million events, ten thousand starts (SOAK="EVENTS DAYS STARTS")
# make coverage    the share of the engine's lines that its tests reach, and the lines that they do not

SECONDS ?= 60
TARGETS ?= model folder network trace serve sequence
FUZZ_SANITIZE ?= address,undefined
FUZZ_BUILD := build-fuzz$(if $(FUZZ_SANITIZE),,-plain)
FAULTS ?=
SOAK ?= 10000000 365 10000

.PHONY: fuzz faults soak coverage

fuzz:
	@cmake/setup.sh build tests
	$(call configure-and-build,$(FUZZ_BUILD),-DCMAKE_CXX_COMPILER=clang++ -DKSBRAIN_TESTS=ON -DKSBRAIN_FUZZ=ON \
	    -DKSBRAIN_FUZZ_SANITIZE=$(FUZZ_SANITIZE),fuzz_targets)
	@attack/fuzz/run.sh $(FUZZ_BUILD) $(SECONDS) $(TARGETS)

faults:
	@cmake/setup.sh build tests
	$(call here,-DKSBRAIN_TESTS=ON,ksbrain_faults)
	@attack/faults/sweep.sh $(BUILD) $(FAULTS)

soak:
	@cmake/setup.sh build tests
	$(call here,-DKSBRAIN_TESTS=ON,ksbrain_soak)
	@TMPDIR=$(firstword $(wildcard /dev/shm) /tmp) $(BUILD)/ksbrain-soak $(SOAK)

coverage:
	@cmake/setup.sh build tests coverage
	$(call configure-and-build,build-coverage,-DCMAKE_CXX_COMPILER=clang++ -DKSBRAIN_TESTS=ON \
	    -DCMAKE_CXX_FLAGS="-fprofile-instr-generate -fcoverage-mapping",engine_tests host_tests)
	@attack/coverage.sh build-coverage
