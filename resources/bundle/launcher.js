// The launcher of the desktop host. The host runs this file, then calls launch() with the
// process's whole argument list, the process name first. There is no UI toolkit for scripts
// yet, so the launcher reports what it was given and leaves the window empty.

function launch(argv) {
  console.log("[launcher] argv: " + JSON.stringify(argv));
  var target = _creatorUtils.getArgv();
  console.log("[launcher] launch argument: " + (target === "" ? "(none)" : target));
  var info = _creatorUtils.systemInfo();
  console.log("[launcher] system: " + info.platform + " " + info.arch + ", " + info.cpuCores +
      " cores, 3D backend " + info.backend);
  console.log("[launcher] no UI exists yet: nothing is shown in the window, and the launch " +
      "argument is not opened.");
}
