# The front door. Every target does its own set-up (scripts/bootstrap installs what is missing) and is
# quick when nothing changed.

PREFIX ?= /usr/local

.PHONY: help build demo test bench coverage lint install clean

help:  ## this list
	@sed -n 's/^\([a-z]*\):.*## /  make \1\t/p' $(MAKEFILE_LIST)

build:  ## the libraries, headers and jar, in build/dist
	@scripts/build

demo:  ## a Java program that records this machine's measurements and shows them
	@scripts/demo

test:  ## every suite; the last line sums them up
	@scripts/test

bench:  ## speed, disk and memory, from Java, beside the floor and beside peers; writes bench/README.md
	@scripts/bench

coverage:  ## the bridge's lines that its suite without a JVM reaches
	@scripts/coverage

lint:  ## formatting and static analysis
	@scripts/lint

install: build  ## copies build/dist to PREFIX (default /usr/local)
	install -d $(DESTDIR)$(PREFIX)/lib $(DESTDIR)$(PREFIX)/include $(DESTDIR)$(PREFIX)/share/java $(DESTDIR)$(PREFIX)/share/doc/zervane/licenses
	cp -a build/dist/lib/. $(DESTDIR)$(PREFIX)/lib/
	cp -a build/dist/include/. $(DESTDIR)$(PREFIX)/include/
	cp -a build/dist/licenses/. $(DESTDIR)$(PREFIX)/share/doc/zervane/licenses/
	install -m 644 build/dist/zervane-1.0.0.jar $(DESTDIR)$(PREFIX)/share/java/

clean:  ## removes everything that was built
	rm -rf build java/target
