// tools/report/ScanScript.h: style, body and script of the page of scans (report/ScanPage.h).
// The script reads only the data elements of its own page and shows them as text nodes: no name or
// text from a file becomes markup.
#pragma once

namespace tarvek::tools {

inline constexpr const char* kScanStyle = R"css(
:root { --s5: #b0508c; }
@media (prefers-color-scheme: dark) { :root { --s5: #e08cc0; } }
.find { display: flex; flex-wrap: wrap; gap: 8px; margin: 14px 0 10px; align-items: center; }
.find input, .find select, .find button, .offers button { font: inherit; color: var(--ink);
  background: var(--card); border: 1px solid var(--rule); border-radius: 8px; padding: 7px 11px; min-height: 40px; }
.find input { flex: 1 1 220px; min-width: 0; }
.find button, .offers button { cursor: pointer; }
.find button { min-width: 44px; }
.find :focus-visible, .offers :focus-visible { outline: 2px solid var(--s1); outline-offset: 1px; }
.offers { display: flex; flex-wrap: wrap; gap: 6px; margin: 8px 0 12px; }
.offers button[aria-current="true"] { border-color: var(--s1); box-shadow: inset 0 0 0 1px var(--s1); }
.offers small { color: var(--soft); }
#scan h2 { font-size: 1.25rem; }
#scan h3 { font-size: 1rem; margin: 0; }
#scan .card { margin-bottom: 14px; }
#message { color: var(--look); }
.swatch { display: inline-block; width: .8em; height: .8em; border-radius: 2px; margin-right: .45em; }
.window { fill: var(--s6); fill-opacity: .16; }
.edge { stroke: var(--soft); stroke-dasharray: 5 4; }
.peak { fill: none; stroke: var(--s6); stroke-width: 1.6; }
.i0 { --ion: var(--s1); } .i1 { --ion: var(--s4); } .i2 { --ion: var(--s3); } .i3 { --ion: var(--s5); }
.i4 { --ion: var(--s2); } .i5 { --ion: var(--soft); } .declared { --ion: var(--ink); }
.swatch { background: var(--ion); }
.swatch.declared { background: none; border: 1.5px dashed var(--ink); }
.own { fill: none; stroke: var(--ion); stroke-width: 2.4; }
.expected { fill: var(--ion); fill-opacity: .15; stroke: var(--ion); stroke-width: 1.2; }
.expected.declared { fill: none; stroke-dasharray: 3 2; }
.follow { fill: none; stroke: var(--ion); stroke-width: 2; stroke-linejoin: round; }
.follow.declared { stroke-dasharray: 4 3; stroke-width: 1.3; }
svg .ion { fill: var(--ion); font-weight: 600; paint-order: stroke; stroke: var(--card); stroke-width: 4px;
  stroke-linejoin: round; }
tr.kept td { font-weight: 600; }
tr.kept td:first-child { box-shadow: inset 3px 0 0 var(--s1); }
td.reason { min-width: 15em; }
kbd { font: inherit; font-size: .82em; border: 1px solid var(--rule); border-radius: 4px; padding: 0 5px; }
@media (max-width: 520px) { main { padding: 18px 10px 32px; } .card { padding: 12px 10px; }
  th, td { padding: 6px 6px; } .keys { display: none; } td.reason { min-width: 11em; } .find input { order: 1; }
  .find select { flex: 1; min-width: 0; } }
)css";

inline constexpr const char* kScanBody =
    R"html(<p class="lead" id="lead">Reading the page &#8230;</p>
<noscript><p>The scans are drawn by a script, which this browser does not run.</p></noscript>
<form class="find" id="find" role="search">
<button type="button" id="back" aria-label="previous scan">&#8592;</button>
<button type="button" id="on" aria-label="next scan">&#8594;</button>
<input id="query" type="search" autocomplete="off" aria-label="find a scan"
 placeholder="scan 123, 20.5 min, 500.25 m/z">
<select id="list" aria-label="list of scans">
<option value="all">all scans in order</option>
<option value="sure">ten most certain</option>
<option value="doubtful">ten least certain</option>
<option value="changed">ten most changed</option>
<option value="chimeric">ten most chimeric</option>
</select>
</form>
<p class="lead keys"><kbd>&#8592;</kbd> <kbd>&#8594;</kbd> go on, <kbd>/</kbd> search, <kbd>l</kbd> next list</p>
<p id="message" role="status"></p>
<div class="offers" id="offers"></div>
<div id="scan" aria-live="polite"></div>
)html";

// Two literals: one would be longer than compilers must take.
inline constexpr const char* kScanScript =
    R"js('use strict';
(function () {
var byId = function (id) { return document.getElementById(id); };
var about = JSON.parse(byId('about').textContent);
var columns = null, order = [], place = 0, shown = null, asked = 0, chunks = new Map();

function element(name, attributes, text) {
  var made = document.createElement(name);
  for (var key in attributes || {}) made.setAttribute(key, attributes[key]);
  if (text !== undefined) made.textContent = text;
  return made;
}
function svgElement(name, attributes, text) {
  var made = document.createElementNS('http://www.w3.org/2000/svg', name);
  for (var key in attributes || {}) made.setAttribute(key, attributes[key]);
  if (text !== undefined) made.textContent = text;
  return made;
}
function put(parent) {
  for (var i = 1; i < arguments.length; ++i) parent.appendChild(arguments[i]);
  return parent;
}

async function unpacked(id) {
  var text = atob(byId(id).textContent), bytes = new Uint8Array(text.length);
  for (var i = 0; i < text.length; ++i) bytes[i] = text.charCodeAt(i);
  var stream = new Blob([bytes]).stream().pipeThrough(new DecompressionStream('deflate'));
  return JSON.parse(await new Response(stream).text());
}
async function scanAt(i) {
  var chunk = Math.floor(i / about.in_chunk);
  if (!chunks.has(chunk)) {
    if (chunks.size > 8) chunks.delete(chunks.keys().next().value);
    chunks.set(chunk, await unpacked('chunk' + chunk));
  }
  return chunks.get(chunk)[i % about.in_chunk];
}

function charge(z) { return Math.abs(z) + (z < 0 ? '\u2212' : '+'); }
function letter(i) { return String.fromCharCode(65 + i % 26) + (i < 26 ? '' : Math.floor(i / 26) + 1); }
function colour(i) { return 'i' + i % 6; }
function height(y) {
  if (!(y > 0)) return '\u2013';
  return y >= 1e4 ? y.toExponential(1).replace('e+', 'e') : y >= 100 ? y.toFixed(0) : y.toPrecision(2);
}
function change(c) { return c < 0 ? '' : c === 0 ? 'unchanged' : c < 4 ? c + ' isotope' + (c > 1 ? 's' : '') + ' moved'
  : c === 4 ? 'charge changed' : 'declared not found'; }

function steps(low, high, wanted) {
  var raw = (high - low) / wanted, power = Math.pow(10, Math.floor(Math.log10(raw))), step = power;
  [1, 2, 5, 10].some(function (f) { step = f * power; return step >= raw; });
  var ticks = [];
  for (var k = Math.ceil(low / step - 1e-9); k * step <= high + 1e-9 * step; ++k) ticks.push(k * step);
  return { ticks: ticks, decimals: Math.max(0, -Math.floor(Math.log10(step) + 1e-9)) };
}
function frame(title, wide, high, left) {
  var svg = svgElement('svg', { viewBox: '0 0 ' + wide + ' ' + high, role: 'img', 'aria-label': title });
  svg.box = { left: left, right: wide - 12, top: 30, bottom: high - 42 };
  return svg;
}
function lineOf(svg, css, x1, y1, x2, y2) {
  svg.appendChild(svgElement('line', { class: css, x1: x1.toFixed(1), y1: y1.toFixed(1), x2: x2.toFixed(1), y2: y2.toFixed(1) }));
}
function textAt(svg, css, x, y, anchor, text) {
  svg.appendChild(svgElement('text', { class: css, x: x.toFixed(1), y: y.toFixed(1), 'text-anchor': anchor }, text));
}

function drawSurvey(scan, wide) {
  var svg = frame('The survey around the isolation window', wide, wide < 520 ? 300 : 360, 54), box = svg.box;
  var beyond = wide < 520 ? 1.2 : 2.5, low = scan.low_mz - beyond, high = scan.high_mz + beyond, top = 1;
  var inside = function (mz) { return mz >= low && mz <= high; };
  scan.peaks.forEach(function (p) { if (inside(p[0])) top = Math.max(top, p[1]); });
  var ions = scan.determined.concat(scan.declared);
  ions.forEach(function (ion) { ion.expected.forEach(function (y) { top = Math.max(top, y); }); });
  var x = function (mz) { return box.left + (mz - low) / (high - low) * (box.right - box.left); };
  var y = function (v) { return box.bottom - v / (top * 1.08) * (box.bottom - box.top); };
  svg.appendChild(svgElement('rect', { class: 'window', x: x(scan.low_mz).toFixed(1), y: box.top,
    width: (x(scan.high_mz) - x(scan.low_mz)).toFixed(1), height: box.bottom - box.top }));
  var rows = steps(0, top * 1.08, 4);
  rows.ticks.forEach(function (v) {
    lineOf(svg, 'grid', box.left, y(v), box.right, y(v));
    textAt(svg, 'tick', box.left - 6, y(v) + 4, 'end', v === 0 ? '0' : height(v));
  });
  [scan.low_mz, scan.high_mz].forEach(function (mz) {
    lineOf(svg, 'edge', x(mz), box.top, x(mz), box.bottom);
    textAt(svg, 'label', x(mz), box.top - 6, 'middle', mz.toFixed(2));
  });
  var half = wide < 520 ? 3 : 4.5, lowest = box.bottom;
  ions.forEach(function (ion, i) {
    var css = i < scan.determined.length ? colour(i) : 'declared', grow = css === 'declared' ? 1.8 : 0;
    ion.expected.forEach(function (v, k) {
      var mz = ion.mz + k * 1.003 / Math.abs(ion.charge);
      if (!inside(mz) || !(v > 0)) return;
      var bar = svgElement('rect', { class: 'expected ' + css, x: (x(mz) - half - grow).toFixed(1), y: y(v).toFixed(1),
        width: 2 * (half + grow), height: Math.max(0, box.bottom - y(v)).toFixed(1) });
      put(bar, svgElement('title', {}, (css === 'declared' ? 'declared' : letter(i)) + ' ' + charge(ion.charge) + ' +' + k +
        ': expected ' + height(v) + ', measured ' + height(ion.measured[k])));
      svg.appendChild(bar);
    });
  });
  scan.peaks.forEach(function (p) {
    if (!inside(p[0])) return;
    var line = svgElement('path', { class: p.length > 2 ? 'own ' + colour(p[2]) : 'peak',
      d: 'M' + x(p[0]).toFixed(1) + ' ' + box.bottom + 'V' + y(p[1]).toFixed(1) });
    put(line, svgElement('title', {}, p[0].toFixed(4) + ', ' + height(p[1])));
    svg.appendChild(line);
  });
  var taken = [];
  scan.determined.forEach(function (ion, i) {
    var best = -1, at = 0;
    ion.expected.forEach(function (v, k) {
      var mz = ion.mz + k * 1.003 / Math.abs(ion.charge);
      if (inside(mz) && v > best) { best = v; at = k; }
    });
    if (best <= 0) return;
    var px = x(ion.mz + at * 1.003 / Math.abs(ion.charge)), py = y(Math.max(best, ion.measured[at])) - 6;
    for (var tries = 0; tries < 8 && taken.some(function (t) { return Math.abs(t[0] - px) < 40 && Math.abs(t[1] - py) < 13; }); ++tries)
      py -= 13;
    taken.push([px, py]);
    textAt(svg, 'ion ' + colour(i), px, Math.max(12, py), 'middle', letter(i) + ' ' + charge(ion.charge));
  });
  lineOf(svg, 'axis', box.left, box.bottom, box.right, box.bottom);
  var across = steps(low, high, Math.max(3, Math.floor(wide / 90)));
  across.ticks.forEach(function (mz) {
    lineOf(svg, 'axis', x(mz), box.bottom, x(mz), box.bottom + 5);
    textAt(svg, 'tick', x(mz), box.bottom + 18, 'middle', mz.toFixed(across.decimals));
  });
  textAt(svg, 'label', (box.left + box.right) / 2, box.bottom + 36, 'middle', 'm/z');
  return svg;
}

function drawElution(scan, wide) {
  var svg = frame('Elution over the ten surveys', wide, wide < 520 ? 240 : 270, 54), box = svg.box;
  var x = function (p) { return box.left + 14 + p / 9 * (box.right - box.left - 28); };
  var y = function (v) { return box.bottom - v / 105 * (box.bottom - box.top); };
  [0, 50, 100].forEach(function (v) {
    lineOf(svg, 'grid', box.left, y(v), box.right, y(v));
    textAt(svg, 'tick', box.left - 6, y(v) + 4, 'end', v + ' %');
  });
  lineOf(svg, 'edge', x(4), box.top, x(4), box.bottom);
  textAt(svg, 'label', x(4), box.top - 6, 'middle', 'survey ' + scan.survey);
  var ions = scan.determined.concat(scan.declared);
  ions.forEach(function (ion, i) {
    var top = Math.max.apply(null, ion.elution), way = '', before = false;
    if (!(top > 0)) return;
    var css = i < scan.determined.length ? colour(i) : 'declared';
    ion.elution.forEach(function (v, p) {
      if (scan.surveys[p][0] === 0) { before = false; return; }
      way += (before ? 'L' : 'M') + x(p).toFixed(1) + ' ' + y(100 * v / top).toFixed(1);
      before = true;
    });
    var line = svgElement('path', { class: 'follow ' + css, d: way });
    put(line, svgElement('title', {}, (css === 'declared' ? css : letter(i)) + ', highest sum of isotopes ' + height(top)));
    svg.appendChild(line);
  });
  lineOf(svg, 'axis', box.left, box.bottom, box.right, box.bottom);
  scan.surveys.forEach(function (survey, p) {
    if (survey[0] === 0 || (wide < 520 && p % 2 === 1)) return;
    lineOf(svg, 'axis', x(p), box.bottom, x(p), box.bottom + 5);
    textAt(svg, 'tick', x(p), box.bottom + 18, 'middle', (survey[1] / 60).toFixed(2));
  });
  textAt(svg, 'label', (box.left + box.right) / 2, box.bottom + 36, 'middle', 'minute of the survey');
  return svg;
}
)js"
    R"js(
function tableOf(heads, rows, css) {
  var head = element('tr'), body = element('tbody');
  heads.forEach(function (h) { head.appendChild(element('th', h[1] ? { class: 'number' } : {}, h[0])); });
  rows.forEach(function (cells) {
    var row = element('tr', cells.css ? { class: cells.css } : {});
    cells.forEach(function (cell, i) {
      var made = element('td', { class: heads[i][1] ? 'number' : heads[i][2] || '' });
      if (cell instanceof Node) made.appendChild(cell); else made.textContent = cell;
      row.appendChild(made);
    });
    body.appendChild(row);
  });
  return put(element('div', { class: 'wide' + (css || '') }), put(element('table'), put(element('thead'), head), body));
}
function named(css, text) {
  return put(element('span'), element('span', { class: 'swatch ' + css }), document.createTextNode(text));
}
function narrow() { return window.innerWidth <= 520; }
function minus(text) { return text.replace('-', '\u2212'); }
function precursors(scan) {
  var digits = narrow() ? 4 : 5;
  var rows = scan.determined.map(function (ion, i) {
    return [named(colour(i), letter(i)), ion.mz.toFixed(digits), charge(ion.charge), minus(ion.score.toFixed(3)), (100 * ion.share).toFixed(0) + ' %'];
  });
  scan.declared.forEach(function (ion) {
    rows.push([named('declared', narrow() ? 'decl.' : 'declared'), ion.mz.toFixed(digits), charge(ion.charge), '\u2013', '\u2013']);
  });
  return tableOf([['', false], ['m/z', true], [narrow() ? 'z' : 'charge', true], [about.is_joint ? narrow() ? 'prob.' : 'probability' : 'score', true], [narrow() ? 'share' : 'of window', true]], rows);
}
function candidates(scan) {
  var heads = [['m/z', true], [narrow() ? 'z' : 'charge', true], [about.is_joint ? 'prob.' : 'score', true], ['why', false, 'reason']];
  about.features.forEach(function (name) { heads.push([name.replace(/_/g, ' '), true]); });
  return tableOf(heads, scan.candidates.map(function (one) {
    var cells = [one.mz.toFixed(4), charge(one.charge), one.score === null ? '\u2013' : minus(one.score.toFixed(3)), one.reason];
    about.features.forEach(function (_, i) { cells.push(i < one.features.length ? String(+one.features[i].toFixed(3)) : '\u2013'); });
    cells.css = one.kept ? 'kept' : '';
    return cells;
  }));
}
function card(title, text, content) {
  var made = put(element('section', { class: 'card' }), put(element('div', { class: 'head' }), element('h3', {}, title)));
  if (text) made.appendChild(element('p', { class: 'lead' }, text));
  return put(made, content);
}

function draw() {
  var scan = shown, home = byId('scan');
  if (!scan) return;
  home.textContent = '';
  var wide = Math.max(300, Math.min(1160, home.clientWidth - (narrow() ? 22 : 38)));
  var head = put(element('section', { class: 'card' }), element('h2', {}, 'Scan ' + scan.scan),
    element('p', { class: 'lead' }, 'minute ' + (scan.rt_seconds / 60).toFixed(2) + ', ' + scan.activation + ' ' + scan.analyser +
      ', window ' + scan.low_mz.toFixed(3) + ' to ' + scan.high_mz.toFixed(3) + ' m/z, survey ' + scan.survey +
      (scan.outcome === 'determined' ? '' : '; ' + scan.outcome)));
  if (!scan.agrees_with_table)
    head.appendChild(element('p', { class: 'badge look' }, 'The table of the run has other precursors for this scan: ' +
      scan.in_table.map(function (ion) { return ion.mz.toFixed(4) + ' ' + charge(ion.charge); }).join(', ')));
  put(head, precursors(scan));
  put(home, head,
    card('The survey around the window', 'Lines: peaks, in the colour of the ion that they belong to. Bars: heights that are expected of each ion; dashed: the declared one.', drawSurvey(scan, wide)),
    card('Elution', 'Sum of the isotopes in each of the ten surveys around the scan, in per cent of the highest.', drawElution(scan, wide)),
    card('Candidates', scan.candidates.length < scan.candidate_count ?
      'The first ' + scan.candidates.length + ' of ' + scan.candidate_count + '; all: tarvek-tools explain RUN ' + scan.scan : '', candidates(scan)));
}
async function show(i) {
  var mine = ++asked;
  try {
    var scan = await scanAt(i);
    if (mine !== asked) return;
    shown = scan;
    if (location.hash !== '#' + scan.scan) history.replaceState(null, '', '#' + scan.scan);
    draw();
    mark();
  } catch (error) { say('This scan cannot be unpacked: ' + error); }
}
function say(text) { byId('message').textContent = text; }
function go(to) {
  if (!order.length) return;
  place = (to + order.length) % order.length;
  say('');
  show(order[place]);
}

function ten(better, takes) {
  return columns.scan.map(function (_, i) { return i; }).filter(takes).sort(function (a, b) { return better(a, b) || a - b; }).slice(0, 10);
}
var lists = {
  all: function () { return columns.scan.map(function (_, i) { return i; }); },
  sure: function () { return ten(function (a, b) { return columns.best[b] - columns.best[a]; }, has); },
  doubtful: function () { return ten(function (a, b) { return columns.best[a] - columns.best[b]; }, has); },
  changed: function () { return ten(function (a, b) { return columns.change[b] - columns.change[a] || columns.best[b] - columns.best[a]; },
    function (i) { return columns.change[i] > 0; }); },
  chimeric: function () { return ten(function (a, b) { return columns.others[b] - columns.others[a]; }, function (i) { return columns.others[i] > 0; }); }
};
function has(i) { return columns.best[i] !== null; }
function tell(i) {
  var list = byId('list').value;
  if (list === 'changed') return change(columns.change[i]);
  if (list === 'chimeric') return Math.round(100 * columns.others[i]) + ' % others';
  return columns.best[i].toFixed(2);
}
function choose(list, first) {
  byId('list').value = list;
  order = lists[list]();
  var offers = byId('offers');
  offers.textContent = '';
  if (list !== 'all') order.forEach(function (i, k) {
    var button = element('button', { type: 'button' }, columns.scan[i] + ' ');
    put(button, element('small', {}, tell(i)));
    button.addEventListener('click', function () { go(k); });
    offers.appendChild(button);
  });
  if (!order.length) say('No scan is on this list.');
  else if (first !== undefined) { place = first; go(first); }
}
function mark() {
  Array.prototype.forEach.call(byId('offers').children, function (button, k) { button.setAttribute('aria-current', String(k === place)); });
}

function nearest(values, wanted) {
  var best = 0;
  values.forEach(function (v, i) { if (Math.abs(v - wanted) < Math.abs(values[best] - wanted)) best = i; });
  return best;
}
function find(text) {
  var number = parseFloat(text.replace(',', '.').replace(/^[^0-9.]+/, ''));
  if (!columns.scan.length) return say('The run has no scans.');
  if (!isFinite(number)) return say('Type a scan number, a time such as 20.5 min, or an m/z such as 500.25.');
  var from = order[place], at = -1, note = '';
  if (/min/i.test(text)) {
    at = nearest(columns.minute, number);
  } else if (/m\/?z|th/i.test(text) || /[.,]/.test(text)) {
    for (var k = 1; k <= columns.mz.length && at < 0; ++k) {
      var i = (from + k) % columns.mz.length;
      if (Math.abs(columns.mz[i] - number) <= about.width / 2) at = i;
    }
    if (at < 0) { at = nearest(columns.mz, number); note = 'No window holds this m/z; this is the nearest.'; }
  } else {
    at = nearest(columns.scan, number);
    if (columns.scan[at] !== number) note = 'Scan ' + number + ' is not in this page; this is the nearest.';
  }
  choose('all');
  go(at);
  say(note);
}

function lead() {
  var text = about.scans + ' scans' + (about.scans < about.scans_of_run ? ' of ' + about.scans_of_run + ', evenly spread over the run' : '') +
    '; the isolation window is ' + about.width + ' m/z wide; precursors were determined ' +
    (about.is_joint ? 'together, from a probability of ' + about.threshold + ' on.' : 'each for itself, above a score of ' + about.threshold + '.');
  if (about.differing) text += ' In ' + about.differing + ' scans the table of the run has other precursors than are found here.';
  byId('lead').textContent = text + (about.doubts.length ? ' ' + about.doubts.join(' ') : '');
}
async function begin() {
  lead();
  if (typeof DecompressionStream === 'undefined') return say('This browser is too old to unpack the scans; tarvek-tools explain prints them.');
  columns = await unpacked('index');
  var wanted = parseInt(location.hash.slice(1), 10), at = columns.scan.indexOf(wanted);
  choose('all', at < 0 ? 0 : at);
}
byId('back').addEventListener('click', function () { go(place - 1); });
byId('on').addEventListener('click', function () { go(place + 1); });
byId('list').addEventListener('change', function () { choose(byId('list').value, 0); });
byId('find').addEventListener('submit', function (event) { event.preventDefault(); find(byId('query').value); byId('query').blur(); });
window.addEventListener('hashchange', function () {
  var at = columns ? columns.scan.indexOf(parseInt(location.hash.slice(1), 10)) : -1;
  if (at >= 0 && (!shown || columns.scan[at] !== shown.scan)) { choose('all'); go(at); }
});
document.addEventListener('keydown', function (event) {
  if (event.ctrlKey || event.metaKey || event.altKey || !columns) return;
  var typing = /^(INPUT|SELECT)$/.test(event.target.tagName || '');
  if (event.key === 'Escape' && typing) { event.target.blur(); return; }
  if (typing) return;
  if (event.key === 'ArrowRight') go(place + 1);
  else if (event.key === 'ArrowLeft') go(place - 1);
  else if (event.key === 'Home') go(0);
  else if (event.key === 'End') go(order.length - 1);
  else if (event.key === '/') { byId('query').focus(); byId('query').select(); }
  else if (event.key === 'l') { var names = Object.keys(lists); choose(names[(names.indexOf(byId('list').value) + 1) % names.length], 0); }
  else return;
  event.preventDefault();
});
var resizing = 0;
window.addEventListener('resize', function () { clearTimeout(resizing); resizing = setTimeout(draw, 120); });
begin().catch(function (error) { say('The page cannot be read: ' + error); });
})();
)js";

}  // namespace tarvek::tools
