// status: 0
var late = setTimeout(function () { console.log("timeout 30"); }, 30);
var loop = setLoop(function () { clearLoop(loop); });
console.log("ids " + late + " " + loop);
setTimeout(function () { console.log("timeout 10"); }, 10);
var ticks = 0;
var interval = setInterval(function () {
  ticks += 1;
  if (ticks === 3) clearInterval(interval);
}, 5);
var cancelled = setTimeout(function () { console.log("cancelled timeout ran"); }, 20);
clearTimeout(cancelled);
setTimeout(function () { console.log("interval ran " + ticks + " times"); }, 300);
