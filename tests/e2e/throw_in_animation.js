// status: 70
_creatorUtils.animate(function (progress) {
  if (progress === 1) throw "thrown text at the end";
}, 30);
