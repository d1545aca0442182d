// status: 70
console.log("before");
setTimeout(function () { console.log("never runs"); }, 0);
throw new Error("top level");
