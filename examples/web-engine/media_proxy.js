// Gives every page `mediaProxy.create()`. The engine runs this before the page's own scripts.
//
//     const proxy = await mediaProxy.create();
//     video.src = await proxy.start("https://example.org/film.webm", { position: 90 });
//     await proxy.seek(120);
//
// Requests return promises. They reject with a DOMException: NotFoundError, NotSupportedError (cannot be played),
// OperationError (refused), NetworkError (the service is gone), TimeoutError, AbortError (the title has ended, or
// another has taken its place).
"use strict";
{
    const engine = window.webkit.messageHandlers.mediaProxy;

    /// Sends a request to the engine. An error arrives as text: its name, a colon, and what happened.
    async function request(message) {
        try {
            return await engine.postMessage(message);
        } catch (error) {
            const [, name, text] = error.message.match(/^(\w+): (.*)$/s);
            throw new DOMException(text, name);
        }
    }

    /// One player: a film, an advertisement, and what is preloaded of each. Its events are
    ///   url, adurl    the film's or the advertisement's local URL (detail), after a start
    ///   definitions   the qualities of the film (detail: an array of { name, url })
    ///   lost          a title has ended with the service (detail: { ad, preloaded, message }, where ad tells
    ///                 whether it was the advertisement): a local URL is dead, take it out of the <video>
    class MediaProxy extends EventTarget {
        #player;

        constructor(player) {
            super();
            this.#player = player;
            this.#deliverEvents().catch(() => {}); // until it is closed
        }

        /// Options of a start: `position` in seconds, `option` for the service. Resolves with the local URL.
        async start(url, options) {
            return this.#started("url", await this.#request("start", { url, ...options }));
        }

        /// Resolves when startPreloaded() will play at once. What plays is not affected.
        async preload(url, options) {
            await this.#request("preload", { url, ...options });
        }

        async startPreloaded() {
            return this.#started("url", await this.#request("startPreloaded"));
        }

        async seek(position) {
            await this.#request("seek", { position });
        }

        async stop() {
            await this.#request("stop");
        }

        async startAdvertisement(url, options) {
            return this.#started("adurl", await this.#request("start", { url, ...options, ad: true }));
        }

        async preloadAdvertisement(url) {
            await this.#request("preload", { url, ad: true });
        }

        async startPreloadedAdvertisement() {
            return this.#started("adurl", await this.#request("startPreloaded", { ad: true }));
        }

        async stopAdvertisement() {
            await this.#request("stop", { ad: true });
        }

        /// Ends all titles of the player. The engine does the same when the page goes.
        async close() {
            await this.#request("close");
        }

        #request(method, parameters = {}) {
            return request({ ...parameters, method, player: this.#player });
        }

        #started(event, url) {
            this.dispatchEvent(new CustomEvent(event, { detail: url }));
            return url;
        }

        async #deliverEvents() {
            for (;;) {
                const { type, detail } = await this.#request("nextEvent");
                this.dispatchEvent(new CustomEvent(type, { detail }));
            }
        }
    }

    const create = async () => new MediaProxy(await request({ method: "create" }));
    Object.defineProperties(window, {
        MediaProxy: { value: MediaProxy },
        mediaProxy: { value: Object.freeze({ create }) },
    });
}
