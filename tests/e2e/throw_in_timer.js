// status: 70
setTimeout(function () { console.log("first timer"); }, 5);
setTimeout(function () { throw new TypeError("from a timer"); }, 20);
setTimeout(function () { console.log("never runs"); }, 60);
