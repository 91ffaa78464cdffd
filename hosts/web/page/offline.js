// @ts-check
// The service worker: keeps the page's files, so that it works without a network once it was seen.

const worker = /** @type {ServiceWorkerGlobalScope} */ (/** @type {unknown} */ (self));
// `./run web` puts the content's checksum here: another build is another store.
const store = "kelvane-BUILD";
const files = [
    "./", "app.js", "canvas.js", "figures.js", "job.js", "kelvane.js", "kelvane.svg", "kelvane.wasm", "manifest.webmanifest",
    "module.js", "panel.js", "parameters.js", "processor.js", "sound.js", "style.css", "undo.js", "wav.js",
];

worker.addEventListener("install", (event) => {
    event.waitUntil(
        caches
            .open(store)
            .then((cache) => cache.addAll(files))
            .then(() => worker.skipWaiting()),
    );
});

worker.addEventListener("activate", (event) => {
    event.waitUntil(
        caches
            .keys()
            .then((names) => Promise.all(names.filter((name) => name !== store).map((name) => caches.delete(name))))
            .then(() => worker.clients.claim()),
    );
});

worker.addEventListener("fetch", (event) => {
    event.respondWith(caches.match(event.request, { ignoreSearch: true }).then((kept) => kept ?? fetch(event.request)));
});
