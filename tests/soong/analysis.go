// analysis LIST: runs Soong's analysis of the Blueprint files that LIST names, with its module types for C and C++.
// out/soong.variables describes the device. The commands that would be run go to out/build.ninja.
package main

import (
	"fmt"
	"os"

	"android/soong/android"
	_ "android/soong/cc"
)

func exitOn(errs ...error) {
	for _, err := range errs {
		if err != nil {
			fmt.Fprintln(os.Stderr, err)
			defer os.Exit(1)
		}
	}
}

func main() {
	config, err := android.NewConfig(".", "out", os.Args[1])
	exitOn(err)
	context := android.NewContext()
	context.Register()
	everywhere := func(*android.Namespace) bool { return true }
	context.SetNameInterface(android.NewNameResolver(everywhere))
	context.SetModuleListFile(os.Args[1])
	files, err := context.ListModulePaths(".")
	exitOn(err)
	_, errs := context.ParseFileList(".", files, config)
	exitOn(errs...)
	_, errs = context.ResolveDependencies(config)
	exitOn(errs...)
	_, errs = context.PrepareBuildActions(config)
	exitOn(errs...)
	ninja, err := os.Create("out/build.ninja")
	exitOn(err)
	exitOn(context.WriteBuildFile(ninja), ninja.Close())
}
