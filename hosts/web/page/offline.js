// @ts-check
// The service worker: keeps the page's files, so that it works without a network once it was seen.

const worker = /** @type {ServiceWorkerGlobalScope} */ (/** @type {unknown} */ (self));
// `./run web` puts the content's checksum here: another build is another store.
const store = "kelvane-BUILD";
const files = [
    "./", "app.js", "canvas.js", "figures.js", "index.html", "job.js", "kelvane.js", "kelvane.svg", "kelvane.wasm", "manifest.webmanifest",
    "module.js", "panel.js", "parameters.js", "processor.js", "sound.js", "style.css", "undo.js", "wav.js",
];

worker.addEventListener("install", (event) => {
    event.waitUntil(
        caches
            .open(store)
            // Asks the server whether files of the browser's own cache are still right.
            .then((cache) => cache.addAll(files.map((file) => new Request(file, { cache: "no-cache" })))),
    );
});

// After the last page of an older build was closed, so that no page gets files of two builds.
worker.addEventListener("activate", (event) => {
    event.waitUntil(
        caches
            .keys()
            .then((names) => Promise.all(names.filter((name) => name.startsWith("kelvane-") && name !== store).map((name) => caches.delete(name))))
            .then(() => worker.clients.claim()),
    );
});

worker.addEventListener("fetch", (event) => {
    const kept = caches.open(store).then((cache) => cache.match(event.request, { ignoreSearch: true }));
    event.respondWith(kept.then((answer) => answer ?? fetch(event.request)));
});
