// What scripts of web_engine_benchmark use, besides those of media_functions.js.
"use strict";

/// Milliseconds since 1970, which the browser's process counts as well. In steps of 20 microseconds, because the page
/// is isolated from other origins; otherwise of a millisecond.
function now() {
    return performance.timeOrigin + performance.now();
}

/// Shows a local URL in a new <video>. Resolves once it plays, with the time.
async function showUntilPlaying(url) {
    const attributes = { muted: true, autoplay: true, crossOrigin: "anonymous", src: url };
    video = Object.assign(document.createElement("video"), attributes);
    document.body.replaceChildren(video);
    await next("playing");
    return now();
}

/// Starts and shows a film. Resolves with the times of the call, of its outcome and of "playing", and the local URL.
async function timedStart(medium) {
    const called = now();
    const url = await proxy.start(medium);
    const resolved = now();
    const playing = await showUntilPlaying(url);
    await moving();
    return [called, resolved, playing, url];
}

/// How much later than it should a timer of this page comes at worst, in milliseconds, while something is done.
async function longestBlock(action) {
    const kShortest = 4; // between timers that are set by timers
    let longest = 0;
    let last = now();
    let timer;
    const tick = () => {
        longest = Math.max(longest, now() - last - kShortest);
        last = now();
        timer = setTimeout(tick, kShortest);
    };
    tick();
    await action();
    clearTimeout(timer);
    return longest;
}

/// What viewers see in an evening, in short.
async function story(film, advertisement) {
    await showUntilPlaying(await proxy.start(film));
    await moving();
    await proxy.preloadAdvertisement(advertisement);
    await showUntilPlaying(await proxy.startPreloadedAdvertisement());
    await moving();
    await proxy.stopAdvertisement();
    await showUntilPlaying(await proxy.start(film, { position: 2 }));
    await proxy.seek(6);
    await seek(6);
    await proxy.preload(film);
    await showUntilPlaying(await proxy.startPreloaded());
    await moving();
    await proxy.stop();
}

/// Starts a film with a player of its own, at a time. Resolves with the colour that is shown.
async function startAt(time, medium) {
    proxy?.close();
    proxy = await mediaProxy.create();
    await new Promise(resolve => setTimeout(resolve, time - now()));
    return show(await proxy.start(medium));
}
