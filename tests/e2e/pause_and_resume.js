// status: 0
var seen = [];
var id = _creatorUtils.animate(function (p) { seen.push(p); }, 200);
setTimeout(function () {
  _creatorUtils.pauseAnimation(id);
  var atPause = seen.length;
  setTimeout(function () {
    if (seen.length !== atPause) console.log("called while paused");
    var before = seen[seen.length - 1];
    _creatorUtils.resumeAnimation(id);
    setTimeout(function () {
      var after = seen[seen.length - 1];
      console.log(after >= before && after - before < 0.5 ? "resumed where it paused" : "jumped " + before + " -> " + after);
    }, 40);
  }, 300);
}, 60);
