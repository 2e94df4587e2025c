# Quick start: `make run` exports the bundled example deck, `make test` runs
# every test (also under AddressSanitizer + UndefinedBehaviorSanitizer).
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
BUILD ?= build
ASAN_BUILD ?= build-asan
EXAMPLE ?= examples/aula-exemplo.pptx
EXAMPLE_ARGS ?= --gif 4:3000

.PHONY: all deps build build-asan run test test-release test-asan bench screenshots fuzz clean

all: build

deps:
	@./scripts/install-deps.sh

$(BUILD)/CMakeCache.txt:
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Release

build: deps $(BUILD)/CMakeCache.txt
	cmake --build $(BUILD) -j $(JOBS)

$(ASAN_BUILD)/CMakeCache.txt:
	cmake -S . -B $(ASAN_BUILD) -DCMAKE_BUILD_TYPE=Debug -DORVANDEL_SANITIZE=ON -DORVANDEL_BUILD_BENCH=OFF

build-asan: deps $(ASAN_BUILD)/CMakeCache.txt
	cmake --build $(ASAN_BUILD) -j $(JOBS)

# Only the command-line tool: the tests and benchmarks are for `make test`.
run: deps $(BUILD)/CMakeCache.txt
	cmake --build $(BUILD) -j $(JOBS) --target orvandel
	$(BUILD)/orvandel export $(EXAMPLE) -o $(BUILD)/aula-exemplo.orv $(EXAMPLE_ARGS)

test: test-release test-asan

test-release: build
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

# The sanitizer run skips the slow end-to-end tests that only drive other
# programs (LibreOffice, ffmpeg); the release run covers them.
test-asan: build-asan
	cd $(ASAN_BUILD) && ORVANDEL_SKIP_SLOW=1 ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 \
		UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 ctest --output-on-failure -j $(JOBS)

bench: build
	./bench/run-all.sh $(BUILD)

# libFuzzer targets of the readers (clang, address + undefined sanitizers),
# each run for SECONDS with seeds from ../shared/corpus (TARGETS="..." for some).
FUZZ_BUILD ?= build-fuzz
SECONDS ?= 60
fuzz:
	ORVANDEL_WITH_FUZZ=1 ./scripts/install-deps.sh
	CC=clang CXX=clang++ cmake -S . -B $(FUZZ_BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DORVANDEL_FUZZ=ON \
		-DORVANDEL_BUILD_TESTS=OFF -DORVANDEL_BUILD_BENCH=OFF -DORVANDEL_BUILD_APP=OFF
	cmake --build $(FUZZ_BUILD) -j $(JOBS) --target ZipReaderFuzz EntryReaderFuzz XmlElementFuzz DeckScanFuzz MovieHeaderFuzz EmbeddedFontFuzz
	./fuzz/run.sh $(FUZZ_BUILD) $(SECONDS)

# The app's window in each state, as PNGs to look at (renderer faked, offscreen).
screenshots: build
	QT_QPA_PLATFORM=offscreen $(BUILD)/Tests/OrvandelAppTests/orvandel-app-screenshots $(BUILD)/app-screenshots

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(FUZZ_BUILD)
