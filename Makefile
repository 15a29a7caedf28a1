# A thin front to CMake, CTest and the scripts in tools/. See README.md and CONTRIBUTING.md.
PRESETS = release debug sanitize helgrind reference clang windows
JOBS ?= $(shell nproc)
PREFIX ?= /usr/local
LIBRARY_ONLY = -DQSL_BUILD_TESTS=OFF

.PHONY: all tour check check-emulated bench bench-smoke bench-publish docs install package format lint clean
.PHONY: $(PRESETS)
.NOTPARALLEL:

all: release

# The library of a preset, without its tests: build/<preset>/libqsl.so, build/windows/qsl.dll.
$(PRESETS): setup-build
	@cmake --preset $@ $(LIBRARY_ONLY)
	@cmake --build --preset $@ -j $(JOBS)

windows: setup-emulated

setup-%:
	@tools/setup.sh $*

# The library and the examples, then the examples on real data.
tour: setup-build setup-fortran
	@cmake --preset release -B build/tour $(LIBRARY_ONLY) -DQSL_BUILD_EXAMPLES=ON
	@cmake --build build/tour -j $(JOBS)
	@tools/tour.sh build/tour

# All tests that run natively: the release build, the sanitizers, helgrind, and a second compiler.
check: setup-build setup-fortran setup-check
	@tools/check.sh

# Other processors, AVX-512 and Windows, in emulators.
check-emulated: setup-build setup-check setup-emulated
	@tools/check-emulated.sh

# Speed beside other libraries: a table of ratios, build/bench/results.json and plots.
bench: setup-build setup-bench
	@cmake --preset bench
	@cmake --build --preset bench -j $(JOBS)
	@python3 benchmarks/report.py --build build/bench

# Each benchmark once, for a moment: whether they still run.
bench-smoke: setup-build setup-bench
	@cmake --preset bench
	@cmake --build --preset bench -j $(JOBS)
	@python3 benchmarks/report.py --build build/bench --rounds 1 --min-time 0.001 \
	  --only '^(?!large|products|transposed)'

# The same, then its tables and plots into docs/performance.md.
bench-publish: bench
	@python3 benchmarks/report.py --build build/bench --again --publish docs >/dev/null

docs: setup-docs
	@tools/docs.sh

install: release
	@cmake --install build/release --prefix $(PREFIX)

package: release
	@cmake --build build/release --target package

format: setup-lint
	@tools/lint.sh --fix

lint: setup-lint setup-build
	@tools/lint.sh

clean:
	@rm -rf build dist
