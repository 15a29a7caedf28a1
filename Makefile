# A thin front to CMake, CTest and the scripts in tools/. See README.md and CONTRIBUTING.md.
PRESETS = release debug sanitize helgrind reference clang bench windows
JOBS ?= $(shell nproc)
PREFIX ?= /usr/local

.PHONY: all tour check check-emulated bench docs install package format lint clean $(PRESETS)

all: release

$(PRESETS):
	@tools/setup.sh build
	@cmake --preset $@ $(if $(VERBOSE),,-DCMAKE_MESSAGE_LOG_LEVEL=WARNING)
	@cmake --build --preset $@ -j $(JOBS)

debug sanitize helgrind: setup-check
release: setup-build
windows: setup-emulated
clang: setup-build
bench: setup-bench

setup-%:
	@tools/setup.sh $*

# The library and the examples, then the examples on real data.
tour: setup-build
	@cmake --preset release -B build/tour -DQSL_BUILD_TESTS=OFF -DQSL_BUILD_EXAMPLES=ON
	@cmake --build build/tour -j $(JOBS)
	@tools/tour.sh build/tour

# All tests that run natively: the release build, the sanitizers, helgrind, and a second compiler.
check: setup-build setup-check
	@tools/check.sh

# Other processors, AVX-512 and Windows, in emulators.
check-emulated: setup-build setup-check setup-emulated
	@tools/check-emulated.sh

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
