// Draws the QC page's plots from the document embedded in #qc-data. Chart.js does the drawing:
// this script only maps each plot's kind to a Chart.js configuration. When it is done, the body
// carries what a test reads: data-plots-drawn, data-qc-errors, data-blank-canvases, data-load-ms.
(function () {
  'use strict';
  // Twelve distinct colours (Tableau 10 and two more), so that the eleven correction classes never share one.
  var palette = ['#1f77b4', '#ff7f0e', '#2ca02c', '#d62728', '#9467bd', '#8c564b', '#e377c2', '#7f7f7f', '#bcbd22',
                 '#17becf', '#393b79', '#e7969c'];

  function axis(title, extra) {
    var scale = { title: { display: !!title, text: title || '' } };
    for (var key in extra) scale[key] = extra[key];
    return scale;
  }

  function baseOptions(plot, xExtra, yExtra) {
    return {
      animation: false,
      responsive: true,
      maintainAspectRatio: false,
      plugins: { legend: { display: false } },
      scales: { x: axis(plot.x_title, xExtra), y: axis(plot.y_title, yExtra) }
    };
  }

  function isList(value) {
    return Array.isArray(value) && value.length > 0;
  }

  function stackedBars(plot) {
    if (!isList(plot.categories) || !isList(plot.series)) return null;
    var options = baseOptions(plot, { stacked: true }, { stacked: true, beginAtZero: true });
    options.plugins.legend.display = true;
    var datasets = plot.series.map(function (series, index) {
      return { label: series.name, data: series.values || [], backgroundColor: palette[index % palette.length] };
    });
    return { type: 'bar', data: { labels: plot.categories, datasets: datasets }, options: options };
  }

  function bars(plot) {
    if (!isList(plot.categories) || !isList(plot.values)) return null;
    var dataset = { label: plot.y_title, data: plot.values, backgroundColor: palette[0] };
    var options = baseOptions(plot, {}, { beginAtZero: true });
    return { type: 'bar', data: { labels: plot.categories, datasets: [dataset] }, options: options };
  }

  // Bars on a linear x axis, one per bin, touching; the optional marker is a second dataset: a
  // vertical line from zero to the highest count at the marker's value.
  function histogram(plot) {
    var edges = plot.bin_edges, counts = plot.counts;
    if (!isList(counts) || !isList(edges) || edges.length !== counts.length + 1) return null;
    var bins = counts.map(function (count, index) {
      return { x: (edges[index] + edges[index + 1]) / 2, y: count };
    });
    var datasets = [{ type: 'bar', label: plot.y_title, data: bins, backgroundColor: palette[0],
                      barPercentage: 1, categoryPercentage: 1, grouped: false }];
    var options = baseOptions(plot, { type: 'linear', min: edges[0], max: edges[edges.length - 1], offset: false },
                              { beginAtZero: true });
    if (plot.marker && typeof plot.marker.value === 'number') {
      var top = Math.max.apply(null, counts.concat([1]));
      datasets.push({ type: 'line', label: plot.marker.label || String(plot.marker.value),
                      data: [{ x: plot.marker.value, y: 0 }, { x: plot.marker.value, y: top }],
                      borderColor: palette[3], borderWidth: 2, borderDash: [6, 4], pointRadius: 0 });
      options.plugins.legend.display = true;
    }
    return { type: 'bar', data: { datasets: datasets }, options: options };
  }

  // Cells coloured from pale to dark blue by count; the tooltip names the cell and its count.
  function heatmap(plot) {
    if (!isList(plot.x_labels) || !isList(plot.y_labels) || !isList(plot.cells)) return null;
    var xLabels = plot.x_labels.map(String), yLabels = plot.y_labels.map(String);
    var cells = plot.cells.map(function (cell) {
      return { x: xLabels[cell[0]], y: yLabels[cell[1]], v: cell[2] };
    });
    var most = Math.max.apply(null, cells.map(function (cell) { return cell.v; }).concat([1]));
    var dataset = {
      label: plot.title,
      data: cells,
      backgroundColor: function (context) {
        var cell = context.dataset.data[context.dataIndex];
        var share = cell && cell.v > 0 ? 0.15 + 0.85 * Math.log(1 + cell.v) / Math.log(1 + most) : 0;
        return 'rgba(31, 119, 180, ' + share.toFixed(3) + ')';
      },
      borderColor: '#ffffff',
      borderWidth: 1,
      width: function (context) { return ((context.chart.chartArea || {}).width || 0) / xLabels.length - 1; },
      height: function (context) { return ((context.chart.chartArea || {}).height || 0) / yLabels.length - 1; }
    };
    var options = baseOptions(plot, { type: 'category', labels: xLabels, offset: true, grid: { display: false } },
                              { type: 'category', labels: yLabels, offset: true, reverse: true,
                                grid: { display: false } });
    options.plugins.tooltip = { callbacks: {
      title: function () { return ''; },
      label: function (context) {
        var cell = context.raw;
        return plot.x_title + ' ' + cell.x + ', ' + plot.y_title + ' ' + cell.y + ': ' + cell.v;
      }
    } };
    return { type: 'matrix', data: { datasets: [dataset] }, options: options };
  }

  // One line per series over a shared numeric x; a null value leaves a gap.
  function lines(plot) {
    if (!isList(plot.x) || !isList(plot.series)) return null;
    var datasets = plot.series.map(function (series, index) {
      var values = series.values || [];
      return {
        label: series.name,
        data: plot.x.map(function (x, at) { return { x: x, y: values[at] === undefined ? null : values[at] }; }),
        borderColor: palette[index % palette.length],
        backgroundColor: palette[index % palette.length],
        borderWidth: 1.5, pointRadius: 0, spanGaps: false
      };
    });
    var yExtra = { beginAtZero: true };
    if (typeof plot.y_max === 'number') yExtra.max = plot.y_max;
    var options = baseOptions(plot, { type: 'linear' }, yExtra);
    options.plugins.legend.display = true;
    return { type: 'line', data: { datasets: datasets }, options: options };
  }

  function scatter(plot) {
    if (!isList(plot.points)) return null;
    var points = plot.points.map(function (point) { return { x: point[0], y: point[1] }; });
    // Unparsed data must come sorted by x: Chart.js then reads the x range from its ends.
    points.sort(function (a, b) { return a.x - b.x; });
    var dataset = { label: plot.title, data: points, pointRadius: 1, pointHoverRadius: 3,
                    backgroundColor: 'rgba(31, 119, 180, 0.35)', borderWidth: 0 };
    var options = baseOptions(plot, { type: 'linear' }, { type: 'linear' });
    options.parsing = false;
    return { type: 'scatter', data: { datasets: [dataset] }, options: options };
  }

  var builders = { stacked_bars: stackedBars, bars: bars, histogram: histogram, heatmap: heatmap,
                   lines: lines, scatter: scatter };

  // Pixels of the canvas that the chart painted: zero means the chart shows nothing.
  function paintedPixels(canvas) {
    var width = canvas.width, height = canvas.height;
    if (!width || !height) return 0;
    var pixels = canvas.getContext('2d').getImageData(0, 0, width, height).data;
    var painted = 0;
    for (var at = 3; at < pixels.length; at += 4) {
      if (pixels[at] !== 0) ++painted;
    }
    return painted;
  }

  // Replaces the chart's frame by a note: "No data", or why the plot could not be drawn.
  function showNote(canvas, text) {
    var frame = canvas.parentNode;
    frame.classList.add('empty');
    var note = document.createElement('p');
    note.className = 'no-data';
    note.textContent = text;
    frame.parentNode.insertBefore(note, frame);
  }

  function drawAll() {
    var page = JSON.parse(document.getElementById('qc-data').textContent);
    var drawn = 0, blank = 0;
    (page.plots || []).forEach(function (plot) {
      var canvas = document.getElementById(plot.id);
      if (!canvas) return;
      try {
        var build = builders[plot.kind];
        var config = build ? build(plot) : null;
        if (!build) throw new Error('unknown plot kind "' + plot.kind + '"');
        if (!config) {
          showNote(canvas, 'No data');
          return;
        }
        new Chart(canvas, config);
        ++drawn;
        if (paintedPixels(canvas) === 0) ++blank;
      } catch (error) {
        window.qcErrors += 1;
        showNote(canvas, 'This plot could not be drawn: ' + error.message);
      }
    });
    document.body.dataset.plotsDrawn = String(drawn);
    document.body.dataset.blankCanvases = String(blank);
  }

  try {
    drawAll();
  } catch (error) {
    window.qcErrors += 1;
  }
  document.body.dataset.qcErrors = String(window.qcErrors);
  document.body.dataset.loadMs = performance.now().toFixed(0);
})();
