# Ringfold: the two commands a fresh machine needs are `make run` and `make test`.
BUILD_DIR ?= build
CMAKE_ARGS ?=
# make run RUN_PATH=DIR opens the window on DIR; empty opens the drive gallery.
RUN_PATH ?=
# make install PREFIX=DIR installs under DIR.
PREFIX ?= /usr/local

.PHONY: all bootstrap configure build test run bench install package clean

all: build

bootstrap:
	@scripts/bootstrap test

configure: bootstrap
	@cmake -S . -B $(BUILD_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Release $(CMAKE_ARGS) >/dev/null

build: configure
	@cmake --build $(BUILD_DIR)

test: build
	@ctest --test-dir $(BUILD_DIR) --output-on-failure -j 2

run: build
	@$(BUILD_DIR)/bin/ringfold $(RUN_PATH)

install: build
	@cmake --install $(BUILD_DIR) --prefix $(PREFIX)

# A .deb with the same files as make install (prefix /usr), in $(BUILD_DIR).
package: build
	@cd $(BUILD_DIR) && cpack -G DEB

bench:
	@scripts/bootstrap bench
	@cmake -S . -B $(BUILD_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Release $(CMAKE_ARGS) >/dev/null
	@cmake --build $(BUILD_DIR)
	@bench/run $(BENCH_ARGS)

clean:
	rm -rf $(BUILD_DIR) build-asan build-tsan build-fuzz
