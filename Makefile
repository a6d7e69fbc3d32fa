# Two commands for everybody: `make demo [PHOTO=path]` and `make test`. Both install what is missing.
SHELL := /bin/bash
JOBS ?= $(shell nproc)
RELEASE := build/native-release
export PHOTO

.PHONY: all demo test bench package format clean setup-build setup-test setup-windows setup-bench

all: setup-build
	cmake --preset native-release -DVEIL_TESTS=OFF -DVEIL_BENCH=OFF
	cmake --build --preset native-release -j $(JOBS)

demo: all
	tools/demo $(RELEASE) "$$PHOTO"

test: setup-test
	tools/test $(JOBS)

package: setup-windows
	cmake --preset win64-release
	cmake --build --preset win64-release -j $(JOBS) --target DuskyVeil
	tools/package build/win64-release/bin/DuskyVeil.8bf build/package

bench: setup-bench
	cmake --preset native-release -DVEIL_BENCH=ON
	cmake --build --preset native-release -j $(JOBS) --target benchmarks
	tools/bench $(RELEASE)

format:
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf build

setup-build setup-test setup-windows setup-bench: setup-%:
	tools/setup $*
