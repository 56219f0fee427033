// What scripts of the tests in a web engine use, besides the functions of page.html.
"use strict";

// From one script to the next.
let proxy, film, lost;

/// Resolves with the colour of the video's frame, by name. On a busy machine its time moves before there is one.
async function colour() {
    const names = { "100": "red", "001": "blue", "010": "green", "101": "magenta", "011": "cyan" };
    for (;; await next("timeupdate")) {
        const [bits] = coloursAt([video.videoWidth / 2, video.videoHeight / 2]);
        if (bits !== "000")
            return names[bits] ?? bits;
    }
}

/// Shows a local URL in a new <video>. Resolves with its colour once it plays.
async function show(url) {
    await play(url, { crossOrigin: "anonymous" });
    return colour();
}

/// Seeks the film in the service and in the <video>. Resolves with its colour once it plays on.
async function seekTo(proxy, position) {
    await proxy.seek(position);
    await seek(position);
    return colour();
}

/// Resolves with the name of the exception with which a promise is rejected.
function rejection(promise) {
    return promise.then(() => "none", error => error.name);
}

/// Resolves with the next event of that name.
function event(proxy, name) {
    return new Promise(resolve => proxy.addEventListener(name, resolve, { once: true }));
}
