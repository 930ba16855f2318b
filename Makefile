# make demo        replay some weeks of recorded usage and show what was predicted
# make test        build and run all tests
# make build       build/ksbrain, build/libksbrain.so, build/libzml.so
# make desktop     build/ksbrain-desktop, a host of the engine for a Linux desktop
# make test-engine the tests of the engine and of the tools that share its threads or files
# make everything  the whole matrix: lint, all tests plain, under each sanitizer and under emulation
# make lint        the layout of the code, and what clang-tidy has to say
# make bench       measure what must be fast, each beside a reference
# make stress      run the threaded tests 200 times over (REPEAT=N for another number)
# make arm64       cross-build everything for 64-bit Arm into build-arm64/
# make test-arm64, test-engine-arm64   and run the tests, or the engine's own, under emulation
# make install     the public headers, libraries and package files below PREFIX (DESTDIR before it)
# make fuzz, faults, soak, coverage   attack the engine and measure what its tests reach (cmake/attack.mk)
# make kills       kill running replays 300 times (KILLS=N) and judge what each next start finds
# make launches    measure how much sooner programs start next to ksbrain-desktop (desktop/launches/launches.mjs)
# make install-tools   the program with its manual and completion, below PREFIX
# make install-desktop   the host for the desktop and its systemd unit, below PREFIX
# make pictures    the README's pictures, from the demo's trace
# make format      lay the code out anew
# make clean
#
# SANITIZE=thread or SANITIZE=address,undefined builds beside the plain build, in a folder of its own.
# SEED=N makes the demo another person's weeks.

SANITIZE ?=
REPEAT ?= 200
SEED ?= 1
KILLS ?= 300
PREFIX ?= /usr/local

comma := ,
BUILD := build$(if $(SANITIZE),-$(subst $(comma),-,$(SANITIZE)))
JOBS := $(shell nproc)

.PHONY: build desktop tests test engine-tests test-engine demo everything lint bench stress kills launches pictures format clean \
    arm64 engine-arm64 test-arm64 test-engine-arm64 install install-tools install-desktop

# configure-and-build(FOLDER,OPTIONS,TARGETS)
define configure-and-build
	@mkdir -p $(1)
	@cmake -S . -B $(1) -G Ninja $(2) >$(1)/configure.log || { cat $(1)/configure.log; exit 1; }
	@cmake --build $(1) --target $(3)
endef

# here(OPTIONS,TARGETS), cross(TARGETS)
here = $(call configure-and-build,$(BUILD),-DCMAKE_CXX_COMPILER=clang++ -DKSBRAIN_SANITIZE=$(SANITIZE) $(1),$(2))
cross = $(call configure-and-build,build-arm64,-DCMAKE_TOOLCHAIN_FILE=$(CURDIR)/cmake/arm64.cmake -DKSBRAIN_TESTS=ON,$(1))

# run-tests(FOLDER,OPTIONS)
run-tests = @cd $(1) && ctest --output-on-failure -j $(JOBS) $(2)

build:
	@cmake/setup.sh build
	$(call here,,all)

desktop:
	@cmake/setup.sh build desktop
	$(call here,-DKSBRAIN_DESKTOP=ON,all)

tests:
	@cmake/setup.sh build desktop tests
	$(call here,-DKSBRAIN_DESKTOP=ON -DKSBRAIN_TESTS=ON,all tests)

test: tests
	$(call run-tests,$(BUILD))

engine-tests:
	@cmake/setup.sh build tests
	$(call here,-DKSBRAIN_TESTS=ON,engine_tests host_tests)

test-engine: engine-tests
	$(call run-tests,$(BUILD),-L 'engine|host')

everything:
	@$(MAKE) lint
	@$(MAKE) test
	@$(MAKE) test SANITIZE=address,undefined
	@$(MAKE) test SANITIZE=thread
	@$(MAKE) test-arm64

demo: build
	@mkdir -p $(BUILD)/demo
	@$(BUILD)/ksbrain synth --days 56 --per-day 230 --seed $(SEED) -o $(BUILD)/demo/trace.csv
	@TZ=UTC $(BUILD)/ksbrain replay --charging 23:00-07:00 --moments 8 $(BUILD)/demo/trace.csv
	@TZ=UTC $(BUILD)/ksbrain report --charging 23:00-07:00 -o $(BUILD)/demo/report.html $(BUILD)/demo/trace.csv

lint:
	@cmake/setup.sh build lint
	@cmake/lint.sh

bench:
	@cmake/setup.sh build tests bench
	$(call here,-DKSBRAIN_TESTS=ON,ksbrain_bench)
	@$(BUILD)/bench/ksbrain_bench

stress: engine-tests
	@for program in $(BUILD)/engine/*/*_test; do \
	    echo "$$program"; \
	    $$program --gtest_filter='*Threads.*' --gtest_repeat=$(REPEAT) --gtest_brief=1 --gtest_break_on_failure \
	        >$(BUILD)/stress.log 2>&1 || { tail -50 $(BUILD)/stress.log; exit 1; }; \
	done

kills: build
	@cmake/setup.sh page
	@node tools/kills/kills.mjs $(KILLS) $(BUILD)/ksbrain

cross-setup := @cmake/setup.sh build tests arm64 && cmake/arm64-sysroot.sh build-arm64

arm64:
	$(cross-setup)
	$(call cross,all tests)

test-arm64: arm64
	$(call run-tests,build-arm64)

engine-arm64:
	$(cross-setup)
	$(call cross,engine_tests)

test-engine-arm64: engine-arm64
	$(call run-tests,build-arm64,-L engine)

launches: desktop
	@cmake/setup.sh page browser launches
	@node desktop/launches/launches.mjs $(BUILD)

install: build
	@DESTDIR=$(DESTDIR) cmake --install $(BUILD) --prefix $(PREFIX)

install-desktop: desktop
	@DESTDIR=$(DESTDIR) cmake --install $(BUILD) --prefix $(PREFIX) --component desktop

install-tools: tests
	@DESTDIR=$(DESTDIR) cmake --install $(BUILD) --prefix $(PREFIX) --component tools

pictures: demo
	@cmake/setup.sh tests
	@rm -rf $(BUILD)/demo/state
	@TZ=UTC $(BUILD)/ksbrain replay --quiet --charging 23:00-07:00 --data-dir $(BUILD)/demo/state \
	    $(BUILD)/demo/trace.csv >$(BUILD)/demo/replay.txt
	$(call here,-DKSBRAIN_TESTS=ON,pictures)

format:
	@cmake/setup.sh lint
	@git ls-files '*.cpp' '*.h' | xargs clang-format -i

include cmake/attack.mk

clean:
	rm -rf build build-*
