// analysis: Soong with its module types for C and C++. It takes the options of Blueprint's builder.
package main

import (
	"flag"

	"android/soong/android"
	_ "android/soong/cc"

	"github.com/google/blueprint/bootstrap"
)

func main() {
	flag.Parse()
	config, err := android.NewConfig(".", bootstrap.BuildDir, bootstrap.ModuleListFile)
	if err != nil {
		panic(err)
	}
	context := android.NewContext()
	context.Register()
	everywhere := func(*android.Namespace) bool { return true }
	context.SetNameInterface(android.NewNameResolver(everywhere))
	bootstrap.Main(context.Context, config)
}
