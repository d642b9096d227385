# FGPostwright: the two commands a new user needs are `make demo` and `make test`.
#
#   make demo    build the tool and run it on the bundled examples
#   make test    install dependencies if missing, build, run the whole suite
#   make asan    the whole suite under AddressSanitizer and UndefinedBehaviorSanitizer
#   make bench   build optimised and run the Google Benchmarks
#   make fuzz    build the libFuzzer targets with clang (build-fuzz/)
#   make install PREFIX=DIR   install the library, headers, tool, CMake package and pkg-config file
#   make docs    the HTML API reference (build-docs/html/index.html)

JOBS ?= $(shell nproc)
BUILD ?= build
ASAN_BUILD ?= build-asan
BENCH_BUILD ?= build-bench
FUZZ_BUILD ?= build-fuzz
DOCS_BUILD ?= build-docs
PREFIX ?= /usr/local
CMAKE_FLAGS ?=

.PHONY: all deps build test asan bench fuzz demo install docs clean

all: build

deps:
	@scripts/install-deps

$(BUILD)/build.ninja:
	cmake -S . -B $(BUILD) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DPOSTWRIGHT_WERROR=ON $(CMAKE_FLAGS)

build: deps $(BUILD)/build.ninja
	cmake --build $(BUILD) -j $(JOBS)

test: build
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

$(ASAN_BUILD)/build.ninja:
	cmake -S . -B $(ASAN_BUILD) -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS="-O1" \
	  -DPOSTWRIGHT_SANITIZE=ON -DPOSTWRIGHT_WERROR=ON -DPOSTWRIGHT_BENCH=OFF $(CMAKE_FLAGS)

asan: deps $(ASAN_BUILD)/build.ninja
	cmake --build $(ASAN_BUILD) -j $(JOBS)
	cd $(ASAN_BUILD) && UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	  ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1 ctest --output-on-failure -j $(JOBS)

$(BENCH_BUILD)/build.ninja:
	cmake -S . -B $(BENCH_BUILD) -G Ninja -DCMAKE_BUILD_TYPE=Release -DPOSTWRIGHT_TESTS=OFF $(CMAKE_FLAGS)

bench: deps $(BENCH_BUILD)/build.ninja
	cmake --build $(BENCH_BUILD) -j $(JOBS)
	$(BENCH_BUILD)/bench/postwright_bench $(BENCH_ARGS)

$(FUZZ_BUILD)/build.ninja:
	CC=clang CXX=clang++ cmake -S . -B $(FUZZ_BUILD) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DPOSTWRIGHT_FUZZ=ON -DPOSTWRIGHT_BENCH=OFF $(CMAKE_FLAGS)

fuzz: deps $(FUZZ_BUILD)/build.ninja
	cmake --build $(FUZZ_BUILD) -j $(JOBS)
	@echo "fuzzers are in $(FUZZ_BUILD)/fuzz/*_fuzzer; run one as: $(FUZZ_BUILD)/fuzz/NAME_fuzzer fuzz/seeds/NAME"

demo: build
	@scripts/demo $(BUILD)/postwright

install: build
	cmake --install $(BUILD) --prefix $(PREFIX)

docs: deps
	@scripts/docs $(DOCS_BUILD)

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(BENCH_BUILD) $(FUZZ_BUILD) $(DOCS_BUILD)
