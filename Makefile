# The front door: "make" alone says what there is. The work is done by the scripts.

.DEFAULT_GOAL := help
.PHONY: help demo test p7tool package bench fuzz lint coverage clean
.NOTPARALLEL:

FUZZ_SECONDS ?= 60

help: ## this list
	@echo 'Tarnwell: signed and encrypted files in the Windows explorer. What make can do here:'
	@echo
	@sed -n 's/^\([a-z0-9]*\): ## \(.*\)/  make \1|\2/p' Makefile | \
	    while IFS='|' read -r target text; do printf '%-16s %s\n' "$$target" "$$text"; done
	@echo
	@echo 'The first run installs packages and builds libraries (15 to 25 minutes on 2 cores).'

demo: ## the main job step by step under Wine, with pictures, into build/demo (90 s when built)
	@scripts/setup.sh mingw demo
	@scripts/build.sh windows "2 minutes from nothing" programs
	@scripts/demo.sh

test: ## all tests, native and under Wine (3 minutes when built, 25 from nothing)
	@scripts/test.sh

p7tool: ## the command-line tool for Linux, build/native/bin/p7tool (a minute)
	@scripts/setup.sh native
	@scripts/build.sh native "a minute from nothing" p7tool
	@echo 'build/native/bin/p7tool is ready; build/native/bin/p7tool --help tells more.'

package: ## the installer for Windows, into build/package (a minute when built; see scripts/package.sh --help)
	@scripts/setup.sh mingw package
	@scripts/build.sh windows "2 minutes from nothing" programs
	@SIGN_CERT='$(SIGN_CERT)' SIGN_KEY='$(SIGN_KEY)' SIGN_TIMESTAMP='$(SIGN_TIMESTAMP)' scripts/package.sh

bench: ## the speed figures, on this machine (some minutes; wants it quiet)
	@scripts/setup.sh mingw native bench
	@scripts/bench.sh

fuzz: ## every fuzz target for FUZZ_SECONDS (60 by default) seconds
	@scripts/setup.sh fuzz
	@scripts/fuzz.sh $(FUZZ_SECONDS)

lint: ## layout and static checks of the sources (half an hour at first, then what changed)
	@scripts/setup.sh mingw native fuzz bench lint
	@scripts/lint.sh

coverage: ## the share of src/ that the tests of both builds run (6 to 10 minutes)
	@scripts/setup.sh mingw native test demo coverage
	@scripts/coverage.sh

clean: ## removes build/; the cache of libraries and prefixes stays
	@rm -rf build
	@echo "build/ is gone. The cache outside the tree: $${XDG_CACHE_HOME:-$$HOME/.cache}/tarnwell"
