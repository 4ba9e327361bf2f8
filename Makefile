# Every target does the set-up that it needs.

SHELL := /bin/bash
PRESET ?= default
PHONE := build/$(PRESET)/host/phone/phone
JOBS ?= $(shell nproc)
PREFIX ?= /usr/local

.DEFAULT_GOAL := help
.PHONY: help setup build desk install deb phone announce-demo demo test test-kernel test-arm64 run bench mutate format lint clean

help: ## List the targets
	@awk -F ':.*## ' '/^[a-z0-9-]+:.*## / {printf "  make %-11s %s\n", $$1, $$2}' $(MAKEFILE_LIST)

setup: ## Install missing Debian packages (as root or with sudo)
	@sh scripts/setup.sh

build: setup ## Build everything with clang (or with PRESET=gcc, asan-ubsan, tsan)
	@cmake --preset $(PRESET) > /dev/null
	@cmake --build --preset $(PRESET) -j $(JOBS)

phone: setup ## Build only what the simulated phone needs
	@cmake --preset $(PRESET) > /dev/null
	@cmake --build --preset $(PRESET) -j $(JOBS) --target kavel_phone

desk: setup ## Build kaveldesk
	@cmake --preset $(PRESET) > /dev/null
	@cmake --build --preset $(PRESET) -j $(JOBS) --target kaveldesk

install: desk ## Install kaveldesk, its man page and completion below PREFIX and DESTDIR
	@cmake --install build/$(PRESET) --component kaveldesk --prefix $(PREFIX) --strip

deb: desk ## Make a Debian package of kaveldesk, in build/
	@cpack --config build/$(PRESET)/CPackConfig.cmake -B build > build/cpack.log 2>&1 \
	    || { cat build/cpack.log; exit 1; }
	@ls build/kaveldesk_*.deb

announce-demo:
	@echo 'The first build takes one to two minutes on two idle cores, the demo itself half a minute.'

demo: announce-demo phone ## Show how a report becomes an archive in the simulated phone
	@$(PHONE) run --dir build/demo-phone --fresh -- /system/phone/demo
	@echo 'Building kaveldesk for the report; the first time takes some minutes.'
	@cmake --build --preset $(PRESET) -j $(JOBS) --target kaveldesk > build/kaveldesk.log || { cat build/kaveldesk.log; exit 1; }
	@echo 'The report about it, for a browser:'
	@build/$(PRESET)/desk/kaveldesk report build/demo-phone/data/persist_log/PLX/de/kavel -o build/demo.html

run: phone ## Start the simulated phone and stay up until Ctrl-C
	@$(PHONE) run

test: setup ## Run all tests: clang, gcc, libc++, ASan+UBSan, TSan, arm64, kernel, lint (LEGS=tsan: one leg)
	@scripts/test.sh

test-kernel: build ## Test with a real kernel in a virtual machine (part of test)
	@scripts/test-kernel.sh build/$(PRESET)

test-arm64: setup ## Build for arm64 and run the unit tests in emulation (part of test)
	@LEGS=arm64 scripts/test.sh

bench: setup ## Run the benchmarks and print a table of budgets (ARGS=--quick, ARGS=--help)
	@scripts/bench.sh $(ARGS)

mutate: setup ## Put faults into the sources and see whether a test notices (ARGS="--files 'dump/*' --sample 20")
	@python3 scripts/mutate.py $(ARGS)

format: setup ## Format the sources
	@scripts/lint.sh --format

lint: setup ## Check the format, run clang-tidy, compile as the phone's build does
	@scripts/lint.sh

clean: ## Remove everything that was built
	@rm -rf build
