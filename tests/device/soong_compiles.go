// What Android's own build system makes of our Android.bp files, for a 32-bit ARM device.
//
// Usage: soong_compiles OUR_TREE PLATFORM_MODULES
//
// Prints a line for every source that it compiles, and one for the library that it links:
//
//	compile PARTITION SOURCE FLAGS...
//	link PARTITION LIBRARY FLAGS...
//
// with all flags that it gives, in its order: the platform's, which it sets for every module of
// this processor, and those that our modules set.
package main

import (
	"bytes"
	"fmt"
	"io/ioutil"
	"os"
	"path/filepath"
	"regexp"
	"strings"

	"android/soong/android"
	"android/soong/cc"
)

// Our modules: where they are defined, and as what they are built. The static one has the form that
// the other one, which is optimized as a whole, asks for.
var modules = []struct{ name, dir, kind string }{
	{"libtamsa_binding", "tamsa", "static_lto-thin"},
	{"libkivtelemetry", "services/kiv/telemetry", "shared"},
}

// The platform's own processes and those of the vendor's, by Soong's names for them.
var partitions = []struct{ name, variant string }{
	{"system", "android"},
	{"vendor", "android_vendor.30"},
}

func failOn(errs ...error) {
	failed := false
	for _, err := range errs {
		if err != nil {
			fmt.Fprintln(os.Stderr, err)
			failed = true
		}
	}
	if failed {
		os.Exit(1)
	}
}

func read(path string) []byte {
	text, err := ioutil.ReadFile(path)
	failOn(err)
	return text
}

// Resolves all modules, as a build would before its first compile.
func analyse(tree, platform string) *android.TestContext {
	blueprints := map[string][]byte{}
	paths := []string{"Android.bp"}
	for _, module := range modules {
		path := filepath.Join(module.dir, "Android.bp")
		blueprints[path] = read(filepath.Join(tree, path))
		paths = append(paths, path)
	}
	out, err := ioutil.TempDir("", "soong")
	failOn(err)
	defer os.RemoveAll(out)
	// The root has one file: ours, and what the platform's modules are.
	root := string(read(filepath.Join(tree, "Android.bp"))) + string(read(platform))
	config := cc.TestConfig(out, android.Android, nil, root, blueprints)
	vndk, version := "current", "30"
	config.TestProductVariables.DeviceVndkVersion = &vndk
	config.TestProductVariables.Platform_vndk_version = &version
	context := cc.CreateTestContext()
	context.Register(config)
	_, errs := context.ParseFileList(".", paths)
	failOn(errs...)
	_, errs = context.PrepareBuildActions(config)
	failOn(errs...)
	return context
}

// A module as it is built for a partition.
func find(context *android.TestContext, name, variant string) android.TestingModule {
	for _, existing := range context.ModuleVariantsForTests(name) {
		if existing == variant {
			return context.ModuleForTests(name, variant)
		}
	}
	failOn(fmt.Errorf("%s is not built as %s", name, variant))
	panic("unreachable")
}

// The variables of the build that hold the platform's flags, by the names that modules have for
// them.
func platformVariables(context *android.TestContext) map[string]string {
	var build bytes.Buffer
	failOn(context.WriteBuildFile(&build))
	text := strings.ReplaceAll(build.String(), "$\n", "")
	variables := map[string]string{}
	definition := regexp.MustCompile(`(?m)^g\.([\w.]+) = +(.*)$`)
	for _, match := range definition.FindAllStringSubmatch(text, -1) {
		variables[match[1]] = strings.ReplaceAll(match[2], "${g.", "${")
	}
	return variables
}

// Flags with the values of all variables in them. A module's own flags are in variables of its own,
// whose names have no braces.
func expand(module android.TestingModule, platform map[string]string, flags string) string {
	own := module.Module().VariablesForTests()
	for strings.Contains(flags, "$") {
		flags = regexp.MustCompile(`\$(\w+)|\$\{([\w.]+)\}`).ReplaceAllStringFunc(flags,
			func(name string) string {
				value, known := own[name[1:]]
				if !known {
					value, known = platform[strings.Trim(name, "${}")]
				}
				if !known {
					failOn(fmt.Errorf("unknown variable %s", name))
				}
				return value
			})
	}
	return strings.Join(strings.Fields(flags), " ")
}

func main() {
	if len(os.Args) != 3 {
		fmt.Fprintln(os.Stderr, "usage: soong_compiles OUR_TREE PLATFORM_MODULES")
		os.Exit(2)
	}
	context := analyse(os.Args[1], os.Args[2])
	platform := platformVariables(context)
	for _, ours := range modules {
		for _, partition := range partitions {
			variant := partition.variant + "_arm_armv7-a-neon_" + ours.kind
			module := find(context, ours.name, variant)
			for _, output := range module.AllOutputs() {
				build := module.Output(output)
				if flags, compiles := build.Args["cFlags"]; compiles {
					fmt.Println("compile", partition.name, build.Input, expand(module, platform, flags))
				} else if flags, links := build.Args["ldFlags"]; links {
					fmt.Println("link", partition.name, ours.name, expand(module, platform, flags))
				}
			}
		}
	}
}
