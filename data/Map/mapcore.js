/*
 * The part both map pages share: the map, the track and its marker, the offline grid and the
 * functions the player calls. The player sends one short script per call and never waits for
 * an answer:
 *
 *   initGpsInfo();               forget the track and the marker
 *   addAddress(lat,lng);         append one track point (in the page's datum)
 *   showPolyline();              draw the line through the points and fit it into the view
 *   play(index)                  put the marker on point `index` and keep it in view
 *   showAddress(lat,lng);        show one position on its own
 *   update();                    the view may have changed size
 *
 * Numbers arrive as C's "%lf" writes them, so a position that is not a number arrives as "nan"
 * or "inf"; the names below make such a call reach addAddress, which keeps the point's place in
 * the track (the marker index must match the player's) but leaves it out of the line.
 *
 * Each call runs in its own try block: a call that fails is counted in getState().errors and
 * leaves the track as it was, and the next call works as usual.
 *
 * getState() is a read-only summary for tests and diagnostics.
 */
/* exported nan, inf, initGpsInfo, addAddress, showPolyline, play, showAddress, update,
   getState, pointPixel, kvStartMap */
'use strict';

var nan = NaN;
var inf = Infinity;

/* Colours and sizes of what the player draws. */
var KV_LINE_STYLE = {color: '#e8412c', weight: 4, opacity: 0.9, interactive: false};
var KV_MARKER_STYLE = {
    radius: 7, color: '#ffffff', weight: 2, fillColor: '#0096d6', fillOpacity: 1,
    interactive: false
};
var KV_ADDRESS_STYLE = {
    radius: 7, color: '#ffffff', weight: 2, fillColor: '#2a9d4b', fillOpacity: 1,
    interactive: false
};
/* Room kept between the fitted track and the edges of the view, in pixels. */
var KV_FIT_PADDING = [24, 24];
/* A fitted track is not zoomed in further than this (a short track or a parked car). */
var KV_FIT_MAX_ZOOM = 17;
/* Zoom for a track that is a single place, and the least zoom showAddress uses. */
var KV_PLACE_ZOOM = 16;
/* The marker is kept this far (in pixels) inside the edges of the view. */
var KV_MARKER_MARGIN = 32;
/* Faint lines of the offline grid. */
var KV_GRID_COLOR = 'rgba(90, 90, 90, 0.16)';
/* Where the user's choice of base layer is remembered between runs. */
var KV_LAYER_STORAGE_KEY = 'kvBaseLayer';

var kvMap = null;
var kvConfig = null;
var kvErrors = 0;
var kvTrack = null;
var kvMarker = null;
var kvAddress = null;
var kvBaseLayerName = '';

function kvNewTrack() {
    return {
        points: [],        /* L.LatLng, or null for a point without a usable position */
        line: null,        /* the drawn L.Polyline, once showPolyline ran */
        markerIndex: -1,   /* the point the marker stands on, -1 when hidden */
        pendingFit: false, /* the view had no size when the track was to be fitted */
        autoFit: false,    /* fitted and not moved by the user since: a new size fits again */
        lastLng: null      /* longitude of the last usable point, to follow the antimeridian */
    };
}

function kvGuarded(name, body) {
    return function () {
        try {
            return body.apply(null, arguments);
        } catch (error) {
            kvErrors += 1;
            if (window.console) {
                console.error(name + ': ' + error);
            }
            return undefined;
        }
    };
}

/* A position the map can show: finite numbers within the globe's ranges. */
function kvUsable(latitude, longitude) {
    return typeof latitude === 'number' && typeof longitude === 'number' &&
        isFinite(latitude) && isFinite(longitude) &&
        Math.abs(latitude) <= 90 && Math.abs(longitude) <= 180;
}

/* The faint grid under the tiles: it moves and zooms with the map, so the track reads as a
   map even when no tile can be fetched. */
var KvGridLayer = L.GridLayer.extend({
    createTile: function () {
        var tile = document.createElement('canvas');
        var size = this.getTileSize();
        tile.width = size.x;
        tile.height = size.y;
        var context = tile.getContext('2d');
        context.strokeStyle = KV_GRID_COLOR;
        context.lineWidth = 1;
        context.beginPath();
        context.moveTo(0.5, 0);
        context.lineTo(0.5, size.y);
        context.moveTo(0, 0.5);
        context.lineTo(size.x, 0.5);
        context.stroke();
        return tile;
    }
});

function kvMapHasSize() {
    var size = kvMap.getSize();
    return size.x > 1 && size.y > 1;
}

function kvFitTrack() {
    var line = kvTrack.line;
    if (!line || line.getLatLngs().length === 0) {
        kvTrack.pendingFit = false;
        return;
    }
    if (!kvMapHasSize()) {
        kvTrack.pendingFit = true; /* fitted when the view gets a size */
        return;
    }
    kvTrack.pendingFit = false;
    kvTrack.autoFit = true;
    var bounds = line.getBounds();
    if (bounds.getNorthEast().equals(bounds.getSouthWest())) {
        kvMap.setView(bounds.getCenter(), KV_PLACE_ZOOM, {animate: false});
    } else {
        kvMap.fitBounds(bounds, {padding: KV_FIT_PADDING, maxZoom: KV_FIT_MAX_ZOOM,
                                 animate: false});
    }
}

/* The position shown for point `index`: its own, else the nearest usable one before it, else
   the first usable one after it. */
function kvPositionAt(index) {
    var points = kvTrack.points;
    for (var i = index; i >= 0; i--) {
        if (points[i]) {
            return points[i];
        }
    }
    for (var j = index + 1; j < points.length; j++) {
        if (points[j]) {
            return points[j];
        }
    }
    return null;
}

/* Pans (never zooms) when the marker comes near the edge of the view, so the user's zoom stays
   as it is. The marker is then put in the middle, so that the map moves seldom (each move
   redraws the whole view) rather than a little on every step. */
function kvKeepInView(position) {
    if (kvTrack.pendingFit || !kvMapHasSize()) {
        return;
    }
    var size = kvMap.getSize();
    var margin = Math.min(KV_MARKER_MARGIN, Math.floor(Math.min(size.x, size.y) / 4));
    var pixel = kvMap.latLngToContainerPoint(position);
    if (pixel.x < margin || pixel.y < margin || pixel.x > size.x - margin ||
        pixel.y > size.y - margin) {
        kvMap.panTo(position, {animate: false});
    }
}

function kvHideMarker() {
    if (kvMap.hasLayer(kvMarker)) {
        kvMap.removeLayer(kvMarker);
    }
}

var initGpsInfo = kvGuarded('initGpsInfo', function () {
    if (kvTrack && kvTrack.line) {
        kvMap.removeLayer(kvTrack.line);
    }
    kvTrack = kvNewTrack();
    kvHideMarker();
    if (kvMap.hasLayer(kvAddress)) {
        kvMap.removeLayer(kvAddress);
    }
});

var addAddress = kvGuarded('addAddress', function (latitude, longitude) {
    var point = null;
    if (kvUsable(latitude, longitude)) {
        var lng = longitude;
        if (kvTrack.lastLng !== null) {
            /* Across the antimeridian the line continues east or west instead of crossing the
               whole world: longitudes are counted on from the previous point. */
            lng += 360 * Math.round((kvTrack.lastLng - lng) / 360);
        }
        kvTrack.lastLng = lng;
        point = L.latLng(latitude, lng);
    }
    kvTrack.points.push(point);
    if (point && kvTrack.line) {
        kvTrack.line.addLatLng(point);
    }
});

var showPolyline = kvGuarded('showPolyline', function () {
    if (kvTrack.line) {
        kvMap.removeLayer(kvTrack.line);
    }
    var usable = kvTrack.points.filter(function (point) { return point !== null; });
    kvTrack.line = L.polyline(usable, KV_LINE_STYLE).addTo(kvMap);
    kvFitTrack();
});

var play = kvGuarded('play', function (index) {
    var count = kvTrack.points.length;
    if (count === 0) {
        kvTrack.markerIndex = -1;
        kvHideMarker();
        return;
    }
    var wanted = Math.floor(Number(index));
    if (!isFinite(wanted)) {
        wanted = 0;
    }
    wanted = Math.max(0, Math.min(count - 1, wanted));
    if (wanted === kvTrack.markerIndex && kvMap.hasLayer(kvMarker)) {
        return; /* already there: nothing to redraw */
    }
    var position = kvPositionAt(wanted);
    if (!position) {
        kvTrack.markerIndex = -1;
        kvHideMarker();
        return;
    }
    kvTrack.markerIndex = wanted;
    kvMarker.setLatLng(position);
    if (!kvMap.hasLayer(kvMarker)) {
        kvMarker.addTo(kvMap);
    }
    kvKeepInView(position);
});

var showAddress = kvGuarded('showAddress', function (latitude, longitude) {
    if (!kvUsable(latitude, longitude)) {
        return;
    }
    var position = L.latLng(latitude, longitude);
    kvAddress.setLatLng(position);
    if (!kvMap.hasLayer(kvAddress)) {
        kvAddress.addTo(kvMap);
    }
    kvMap.setView(position, Math.max(kvMap.getZoom(), KV_PLACE_ZOOM), {animate: false});
});

var update = kvGuarded('update', function () {
    kvMap.invalidateSize({pan: false});
    if (kvTrack.pendingFit || kvTrack.autoFit) {
        kvFitTrack();
    }
});

function kvBoundsObject(bounds) {
    if (!bounds || !bounds.isValid()) {
        return null;
    }
    return {
        south: bounds.getSouth(), west: bounds.getWest(),
        north: bounds.getNorth(), east: bounds.getEast()
    };
}

function kvLatLngObject(latlng) {
    return latlng ? {lat: latlng.lat, lng: latlng.lng} : null;
}

/* What the page shows, for tests and diagnostics; changes nothing. */
function getState() {
    var line = kvTrack.line;
    var marker = kvMap.hasLayer(kvMarker) ? kvMarker.getLatLng() : null;
    var markerPixel = marker ? kvMap.latLngToContainerPoint(marker) : null;
    var size = kvMap.getSize();
    return {
        page: kvConfig.name,
        points: kvTrack.points.length,
        linePoints: line ? line.getLatLngs().length : 0,
        lineShown: !!line && kvMap.hasLayer(line),
        markerIndex: kvTrack.markerIndex,
        marker: kvLatLngObject(marker),
        markerPixel: markerPixel ? {x: markerPixel.x, y: markerPixel.y} : null,
        address: kvMap.hasLayer(kvAddress) ? kvLatLngObject(kvAddress.getLatLng()) : null,
        bounds: line ? kvBoundsObject(line.getBounds()) : null,
        view: kvBoundsObject(kvMap.getBounds()),
        zoom: kvMap.getZoom(),
        size: {x: size.x, y: size.y},
        pendingFit: kvTrack.pendingFit,
        autoFit: kvTrack.autoFit,
        baseLayer: kvBaseLayerName,
        baseLayers: kvConfig.baseLayers.map(function (entry) { return entry.name; }),
        lineColor: KV_LINE_STYLE.color,
        errors: kvErrors
    };
}

/* Where track point `index` lies in the view, in pixels from its top left corner; null for a
   point without a usable position. */
function pointPixel(index) {
    var point = kvTrack.points[index];
    if (!point) {
        return null;
    }
    var pixel = kvMap.latLngToContainerPoint(point);
    return {x: pixel.x, y: pixel.y};
}

function kvRememberedLayer(entries) {
    var name = null;
    try {
        name = window.localStorage.getItem(KV_LAYER_STORAGE_KEY);
    } catch (error) {
        name = null; /* no storage: the first layer */
    }
    for (var i = 0; i < entries.length; i++) {
        if (entries[i].name === name) {
            return entries[i];
        }
    }
    return entries[0];
}

/* The tile layers join after the page has loaded: the player waits for the page's load before
   it sends the track, and a tile server that does not answer must not hold that up. */
function kvAddBaseLayers() {
    var entries = kvConfig.baseLayers;
    var chosen = kvRememberedLayer(entries);
    chosen.layer.addTo(kvMap);
    kvBaseLayerName = chosen.name;
    if (entries.length > 1) {
        var control = {};
        entries.forEach(function (entry) { control[entry.name] = entry.layer; });
        L.control.layers(control, null, {collapsed: true}).addTo(kvMap);
    }
    kvMap.on('baselayerchange', function (event) {
        kvBaseLayerName = event.name;
        try {
            window.localStorage.setItem(KV_LAYER_STORAGE_KEY, event.name);
        } catch (error) {
            /* not remembered */
        }
    });
}

/* Builds the map. config: name, crs, center, zoom, minZoom, maxZoom and baseLayers, a list of
   {name, layer} whose first entry is shown unless the user chose another before. */
function kvStartMap(config) {
    kvConfig = config;
    kvMap = L.map('map', {
        crs: config.crs,
        minZoom: config.minZoom,
        maxZoom: config.maxZoom,
        worldCopyJump: false,
        zoomControl: true
    });
    kvMap.setView(config.center, config.zoom);
    new KvGridLayer({zIndex: 0, minZoom: config.minZoom, maxZoom: config.maxZoom}).addTo(kvMap);
    L.control.scale({metric: true, imperial: true}).addTo(kvMap);
    kvMarker = L.circleMarker(config.center, KV_MARKER_STYLE);
    kvAddress = L.circleMarker(config.center, KV_ADDRESS_STYLE);
    kvTrack = kvNewTrack();
    kvMap.on('resize', function () {
        if (kvTrack.pendingFit || kvTrack.autoFit) {
            kvFitTrack();
        }
    });
    /* Once the user moves or zooms the map, a new size of the view keeps the user's view. */
    ['mousedown', 'wheel', 'touchstart', 'keydown'].forEach(function (type) {
        kvMap.getContainer().addEventListener(type, function () {
            kvTrack.autoFit = false;
        }, true);
    });
    window.addEventListener('load', function () {
        window.setTimeout(kvAddBaseLayers, 0);
    });
}
