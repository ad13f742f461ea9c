# The commands of this repository; see README.md. Each first installs missing packages.
SHELL := /bin/bash
# Where scripts/install-dependencies unpacks a newer Boost beside an installed older one.
UNPACKED := $(CURDIR)/build/deps/usr
CONFIGURE = cmake -DCMAKE_CXX_COMPILER=$$(command -v clang++-19 || command -v clang++-18 || echo clang++-19) \
            $$([ ! -d $(UNPACKED) ] || echo -DCMAKE_PREFIX_PATH=$(UNPACKED)) --preset

.PHONY: run build test bench fuzz package archive check fresh clean

# RECORDINGS=local records what agents do, share also offers recordings to the platform, off does neither. The choice is stored.
# DESKTOP=gnome, kde, sway or x11 starts a private virtual desktop of that kind.
RECORDINGS ?=
DESKTOP ?=
run: build
	@exec scripts/run build build/run "$(RECORDINGS)" "$(DESKTOP)"

build:
	@scripts/install-dependencies build run
	@$(CONFIGURE) dev
	@cmake --build build --target zelvo-agent zelvo-gateway

test:
	@scripts/install-dependencies build run test
	@$(CONFIGURE) dev
	@cmake --build build
	@scripts/run-tests build

bench:
	@scripts/install-dependencies build run test check
	@$(CONFIGURE) release
	@cmake --build build/release
	@scripts/run-benchmarks build/release

# FUZZ_SECONDS is the time for each target.
FUZZ_SECONDS ?= 60
fuzz:
	@scripts/install-dependencies build check
	@$(CONFIGURE) fuzz
	@cmake --build build/fuzz
	@scripts/run-fuzzers build/fuzz $(FUZZ_SECONDS)

# The addresses that the agent of a package or archive uses; the last two only for archives, which update themselves:
# where their feed is, and base64 of the 32 bytes of the Ed25519 public key that it is signed with.
export GATEWAY_URL CONSOLE_URL FEED_URL UPDATE_KEY
package:
	@scripts/install-dependencies build package
	@scripts/make-package

archive:
	@scripts/install-dependencies build package
	@scripts/make-archive

# SUITE is the Debian on which README.md is tried: bookworm or trixie.
SUITE ?= bookworm
fresh:
	@scripts/try-fresh $(SUITE)

check:
	@scripts/install-dependencies build run test check
	@scripts/check-format
	@$(CONFIGURE) dev && cmake --build build
	@scripts/check-headers build
	@scripts/check-tidy build
	@scripts/run-soak build
	@$(CONFIGURE) asan && cmake --build build/asan && scripts/run-tests build/asan
	@$(CONFIGURE) tsan && cmake --build build/tsan && scripts/run-tests build/tsan 'unit|end_to_end'
	@$(CONFIGURE) fuzz && cmake --build build/fuzz && scripts/run-fuzzers build/fuzz 10
	@scripts/try-fresh trixie --with-tests

clean:
	rm -rf build
