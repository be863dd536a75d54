# The two commands of the README: `make run` and `make test`. The rest are steps they use.
BUILD_DIR      ?= build
ASAN_BUILD_DIR ?= build-asan
TSAN_BUILD_DIR ?= build-tsan
FUZZ_BUILD_DIR ?= build-fuzz
FUZZ_SECONDS   ?= 60
JOBS           ?= $(shell nproc)
PREFIX         ?= /usr/local
ARGS           ?=

# GLib's slice allocator recycles memory without freeing it, which hides a double release from
# AddressSanitizer; GLib's own threads are not instrumented for ThreadSanitizer.
TEST_ENV  = G_SLICE=always-malloc
TSAN_ENV  = $(TEST_ENV) TSAN_OPTIONS="suppressions=$(CURDIR)/tests/tsan.supp"

.PHONY: all setup web-test-deps build run test test-tsan fuzz install format check-format tidy \
	tidy-changed clean

all: build

setup:
	@scripts/install-deps.sh

# Node modules of the browser test (playwright-core drives Debian's chromium).
web-test-deps: setup
	@if [ -f tests/web/package-lock.json ]; then \
		npm ci --prefix tests/web --no-audit --no-fund --loglevel=error >/dev/null; fi

build: setup
	cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo
	cmake --build $(BUILD_DIR) -j $(JOBS)

run: build
	$(BUILD_DIR)/bin/ipcontrold $(ARGS)

test: web-test-deps
	cmake -S . -B $(ASAN_BUILD_DIR) -DCMAKE_BUILD_TYPE=Debug -DIPC_SANITIZE=address,undefined
	cmake --build $(ASAN_BUILD_DIR) -j $(JOBS)
	cd $(ASAN_BUILD_DIR) && $(TEST_ENV) ctest --output-on-failure -j $(JOBS)

test-tsan: web-test-deps
	cmake -S . -B $(TSAN_BUILD_DIR) -DCMAKE_BUILD_TYPE=Debug -DIPC_SANITIZE=thread
	cmake --build $(TSAN_BUILD_DIR) -j $(JOBS)
	cd $(TSAN_BUILD_DIR) && $(TSAN_ENV) ctest --output-on-failure -j $(JOBS)

# Every fuzz target for FUZZ_SECONDS (clang, libFuzzer, ASan + UBSan); see fuzz/README.md.
fuzz: setup
	cmake -S . -B $(FUZZ_BUILD_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_C_COMPILER=clang \
		-DCMAKE_CXX_COMPILER=clang++ -DIPC_FUZZ=ON -DIPC_SANITIZE=address,undefined
	cmake --build $(FUZZ_BUILD_DIR) -j $(JOBS) --target fuzz-targets
	fuzz/run.sh $(FUZZ_BUILD_DIR) $(FUZZ_SECONDS)

# Installs under PREFIX (default /usr/local); DESTDIR stages the files elsewhere.
install: setup
	cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_INSTALL_PREFIX=$(PREFIX)
	cmake --build $(BUILD_DIR) -j $(JOBS)
	cmake --install $(BUILD_DIR)

format:
	git ls-files -z '*.c' '*.cpp' '*.h' | xargs -0 clang-format -i

# Fails on any C or C++ file that `make format` would change (a second on the whole tree).
check-format: setup
	git ls-files -z '*.c' '*.cpp' '*.h' | xargs -0 clang-format --dry-run --Werror

# clang-tidy with .clang-tidy over every file of the sanitizer build and our own headers; any
# finding fails. tidy-changed checks only the files changed since the main line (scripts/tidy.sh).
tidy tidy-changed: setup
	cmake -S . -B $(ASAN_BUILD_DIR) -DCMAKE_BUILD_TYPE=Debug -DIPC_SANITIZE=address,undefined
	scripts/tidy.sh $(ASAN_BUILD_DIR) $(JOBS) $(if $(filter tidy-changed,$@),--changed)

clean:
	rm -rf $(BUILD_DIR) $(ASAN_BUILD_DIR) $(TSAN_BUILD_DIR) $(FUZZ_BUILD_DIR)
