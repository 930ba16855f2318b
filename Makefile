# make build | test | demo | bench | stress | format | clean
#
#   make test SANITIZE=thread              builds beside the plain build, in build-thread/
#   make test SANITIZE=address,undefined
#   make stress REPEAT=200                 repeats the threaded tests

SANITIZE ?=
REPEAT ?= 200

comma := ,
BUILD := build$(if $(SANITIZE),-$(subst $(comma),-,$(SANITIZE)))

.PHONY: build test setup clean

setup:
	@cmake/setup.sh

build: setup
	@cmake -S . -B $(BUILD) -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DKSBRAIN_SANITIZE=$(SANITIZE) >$(BUILD).log 2>&1 \
	    || { cat $(BUILD).log; exit 1; }
	@cmake --build $(BUILD)

test: build
	@cd $(BUILD) && ctest --output-on-failure -j $$(nproc)

clean:
	rm -rf build build-* build.log build-*.log
