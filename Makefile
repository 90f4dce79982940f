# The one entry point for building, testing and benchmarking.
#   make run                 install what is missing, build, run the demo
#   make test                install what is missing, build, run every test
#   make test SANITIZE=address|thread
#   make bench               build the benchmarks (Release) and print the ratio table
#   make docs                the public API reference (Doxygen) in build-docs/html
#   make fuzz                build the libFuzzer harnesses with clang and run each on its
#                            corpus for FUZZ_SECONDS (default 60)
#   make format | clean | install PREFIX=/usr/local

BUILD_TYPE ?= RelWithDebInfo
SANITIZE   ?=
PREFIX     ?= /usr/local
JOBS       ?= $(shell nproc 2>/dev/null || echo 2)
CTEST_ARGS ?=
# What the bootstrap installs and whether the test suites are configured:
# `make run` needs only the build and the demo; tests and benchmarks bring
# their own packages.
PROFILE    ?= test
TESTS      ?= ON
FUZZ_SECONDS ?= 60

# glib's slice allocator recycles memory between threads behind locks that
# ThreadSanitizer cannot see; plain malloc makes that visible to it.
TEST_ENV :=
ifeq ($(SANITIZE),address)
  BUILD_DIR ?= build-asan
  TEST_ENV := UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
else ifeq ($(SANITIZE),thread)
  BUILD_DIR ?= build-tsan
  TEST_ENV := G_SLICE=always-malloc
else ifeq ($(SANITIZE),)
  BUILD_DIR ?= build
else
  $(error SANITIZE must be address, thread or empty)
endif

GENERATOR := $(shell command -v ninja >/dev/null 2>&1 && echo Ninja || echo "Unix Makefiles")
CMAKE_FLAGS = -G "$(GENERATOR)" -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) -DLUMO_SANITIZE=$(SANITIZE) \
              -DCMAKE_INSTALL_PREFIX=$(PREFIX)

.PHONY: all bootstrap configure build run test stress bench docs fuzz format install clean

all: build

bootstrap:
	@scripts/bootstrap.sh $(PROFILE)

configure: bootstrap
	@cmake -S . -B $(BUILD_DIR) $(CMAKE_FLAGS) -DLUMO_BUILD_TESTS=$(TESTS) >/dev/null

build: configure
	@cmake --build $(BUILD_DIR) -j $(JOBS)

run: PROFILE := build
run: TESTS := OFF
run: build
	@scripts/run-demo.sh $(BUILD_DIR)

test: build
	@cd $(BUILD_DIR) && $(TEST_ENV) ctest --output-on-failure -j $(JOBS) -LE stress $(CTEST_ARGS)

stress: build
	@cd $(BUILD_DIR) && $(TEST_ENV) ctest --output-on-failure -L stress $(CTEST_ARGS)

bench: PROFILE := bench
bench: bootstrap
	@cmake -S . -B build-bench -G "$(GENERATOR)" -DCMAKE_BUILD_TYPE=Release \
	      -DLUMO_BUILD_BENCH=ON -DLUMO_BUILD_TESTS=OFF >/dev/null
	@cmake --build build-bench -j $(JOBS)
	@scripts/run-bench.sh build-bench

# Fails on any Doxygen warning, so that the reference stays whole.
docs: PROFILE := docs
docs: bootstrap
	@rm -rf build-docs
	@doxygen docs/Doxyfile
	@echo "API reference: build-docs/html/index.html"

# Instrumented with clang: coverage for libFuzzer everywhere, ASan and UBSan.
# New inputs go to build-fuzz/corpus, the seeds in fuzz/corpus stay as they are.
fuzz: PROFILE := fuzz
fuzz: bootstrap
	@CC=clang CXX=clang++ cmake -S . -B build-fuzz -G "$(GENERATOR)" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	      -DLUMO_FUZZ=ON -DLUMO_BUILD_TESTS=OFF -DLUMO_BUILD_TOOLS=OFF -DLUMO_SANITIZE=address \
	      -DCMAKE_CXX_FLAGS=-fsanitize=fuzzer-no-link -DCMAKE_C_FLAGS=-fsanitize=fuzzer-no-link >/dev/null
	@cmake --build build-fuzz --target fuzz_harnesses -j $(JOBS)
	@for harness in build-fuzz/bin/*Fuzz; do \
	    name=$$(basename $$harness); mkdir -p build-fuzz/corpus/$$name; \
	    echo "=== $$name ($(FUZZ_SECONDS) s)"; \
	    $$harness -max_total_time=$(FUZZ_SECONDS) -dict=fuzz/$$name.dict \
	        build-fuzz/corpus/$$name fuzz/corpus/$$name || exit 1; \
	done

format:
	@git ls-files -z -- '*.h' '*.hpp' '*.cpp' '*.c' | xargs -0 clang-format -i

# Installing needs neither the test suites nor their packages.
install: PROFILE := build
install: TESTS := OFF
install: build
	@cmake --install $(BUILD_DIR)

clean:
	@rm -rf build build-asan build-tsan build-bench build-docs build-fuzz
