# make demo     replay some weeks of recorded usage and show what was predicted
# make test     build and run all tests
# make build    build/ksbrain, build/libksbrain.so, build/libzml.so
# make bench    measure what must be fast, each beside a reference
# make stress   run the threaded tests 200 times over (REPEAT=N for another number)
# make arm64    cross-build everything for 64-bit Arm into build-arm64/
# make test-arm64   and run all tests under emulation
# make install  the public headers, libraries and package files below PREFIX (DESTDIR before it)
# make kills    kill running replays 300 times (KILLS=N) and judge what each next start finds
# make install-tools   the program with its manual and completions, below PREFIX
# make pictures the README's pictures, from the demo's trace
# make format   lay the code out anew
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
OPTIONS := -DCMAKE_CXX_COMPILER=clang++ -DKSBRAIN_SANITIZE=$(SANITIZE)

.PHONY: build tests test demo bench stress kills arm64 test-arm64 install install-tools pictures format setup clean

# configure-and-build(FOLDER,OPTIONS,TARGETS)
define configure-and-build
	@mkdir -p $(1)
	@cmake -S . -B $(1) -G Ninja $(2) >$(1)/configure.log || { cat $(1)/configure.log; exit 1; }
	@cmake --build $(1) $(3)
endef

build: setup
	$(call configure-and-build,$(BUILD),$(OPTIONS))

setup:
	@cmake/setup.sh

tests: setup
	$(call configure-and-build,$(BUILD),$(OPTIONS) -DKSBRAIN_TESTS=ON,--target all tests ksbrain_manual)

test: tests
	@cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

demo: build
	@mkdir -p $(BUILD)/demo
	@$(BUILD)/ksbrain synth --days 56 --per-day 230 --seed $(SEED) -o $(BUILD)/demo/trace.csv
	@TZ=UTC $(BUILD)/ksbrain replay --charging 23:00-07:00 --moments 8 $(BUILD)/demo/trace.csv
	@TZ=UTC $(BUILD)/ksbrain report --charging 23:00-07:00 -o $(BUILD)/demo/report.html $(BUILD)/demo/trace.csv

bench: tests
	@cmake --build $(BUILD) --target ksbrain_bench
	@$(BUILD)/bench/ksbrain_bench

stress: tests
	@for program in $(BUILD)/engine/*/*_test $(BUILD)/tools/*/*_test; do \
	    echo "$$program"; \
	    $$program --gtest_filter='*Threads.*' --gtest_repeat=$(REPEAT) --gtest_brief=1 --gtest_break_on_failure \
	        >$(BUILD)/stress.log 2>&1 || { tail -50 $(BUILD)/stress.log; exit 1; }; \
	done

kills: tests demo
	@$(BUILD)/ksbrain-kills --program $(BUILD)/ksbrain --kills $(KILLS) $(BUILD)/demo/trace.csv

arm64:
	@cmake/setup.sh qemu-user-static
	@cmake/arm64-sysroot.sh build-arm64
	$(call configure-and-build,build-arm64,-DCMAKE_TOOLCHAIN_FILE=$(CURDIR)/cmake/arm64.cmake -DKSBRAIN_TESTS=ON,--target all tests ksbrain_manual)

test-arm64: arm64
	@cd build-arm64 && ctest --output-on-failure -j $(JOBS)

install: build
	@DESTDIR=$(DESTDIR) cmake --install $(BUILD) --prefix $(PREFIX)

install-tools: tests
	@DESTDIR=$(DESTDIR) cmake --install $(BUILD) --prefix $(PREFIX) --component tools

pictures: demo
	@rm -rf $(BUILD)/demo/state
	@TZ=UTC $(BUILD)/ksbrain replay --quiet --charging 23:00-07:00 --data-dir $(BUILD)/demo/state \
	    $(BUILD)/demo/trace.csv >$(BUILD)/demo/replay.txt
	@cmake --build $(BUILD) --target pictures

format:
	@git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf build build-*
