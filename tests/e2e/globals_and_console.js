// status: 0
console.log("first", "second is not printed");
console.info([typeof _creator, typeof _creator2d, typeof _creatorUI, typeof _creatorUtils, typeof _creatorCanvas].join(" "));
console.error(["setTimeout", "setInterval", "setLoop", "clearTimeout", "clearInterval", "clearLoop"]
  .map(function (name) { return typeof globalThis[name]; }).join(" "));
console.log({});
console.log();
