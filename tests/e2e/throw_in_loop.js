// status: 70
var frames = 0;
setLoop(function () {
  frames += 1;
  if (frames === 2) throw new RangeError("from a loop");
});
