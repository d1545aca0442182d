// status: 0
// Loops run before animations within one tick of the display link.
var loop = setLoop(function (dt) {
  if (typeof dt !== "number" || dt < 0) console.log("bad step " + dt);
  clearTimeout(loop);
  console.log("loop ran once, ended by clearTimeout");
});
var animation = _creatorUtils.animate(function (p) {
  if (p === 1) console.log("animation " + animation + " ended at exactly 1");
}, 60);
_creatorUtils.animate(function (p) { console.log("zero duration progress " + p); }, 0);
var stopped = _creatorUtils.animate(function (p) { if (p === 1) console.log("stopped animation ended"); }, 20);
_creatorUtils.stopAnimation(stopped);
