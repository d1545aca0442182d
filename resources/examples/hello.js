// A first Talvero script: timers, a frame loop and a timed animation, then nothing is left
// to run and `--exit-when-idle` lets the process end.

console.log("Hello from Talvero");

var frames = 0;
var loop = setLoop(function (dt) {
  frames += 1;
});

var marks = [0.25, 0.5, 0.75, 1];
_creatorUtils.animate(function (progress) {
  while (marks.length > 0 && progress >= marks[0]) {
    var done = Math.round(marks.shift() * 20);
    console.log("[" + "#".repeat(done) + " ".repeat(20 - done) + "] " + done * 5 + "%");
  }
  if (progress === 1) {
    clearLoop(loop);
    console.log("animation finished after " + frames + " frames");
  }
}, 600);

var count = 0;
var ticker = setInterval(function () {
  count += 1;
  console.log("tick " + count);
  if (count === 3) clearInterval(ticker);
}, 250);
