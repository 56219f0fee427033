"use strict";
// The arrow keys go from item to item of the timeline, and from row to row of the log. Enter follows an item's link to
// its row, and a row's link back.
const lists = [
  { items: [...document.querySelectorAll("svg .item")], forward: "ArrowRight", back: "ArrowLeft" },
  { items: [...document.querySelectorAll("#log tbody a")], forward: "ArrowDown", back: "ArrowUp" },
];

function focusOn(element) {
  element.focus({ preventScroll: true });
  element.scrollIntoView({ block: "nearest", inline: "center" });
}

document.addEventListener("keydown", (event) => {
  for (const { items, forward, back } of lists) {
    const step = { [forward]: 1, [back]: -1 }[event.key];
    const at = items.indexOf(document.activeElement);
    if (!step || at === -1)
      continue;
    event.preventDefault();
    focusOn(items.at(Math.min(items.length - 1, Math.max(0, at + step))));
  }
});

window.addEventListener("hashchange", () => {
  const target = document.getElementById(location.hash.slice(1));
  if (target)
    focusOn(target.querySelector("a") || target);
});
