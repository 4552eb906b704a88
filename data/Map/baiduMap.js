/*
 * The Baidu page: positions arrive in BD-09 (or WGS-84 with the correction off) and are drawn
 * on Baidu's tiles, which use Baidu's own Mercator grid: a Mercator projection on the Clarke
 * 1866 ellipsoid, 2^(z-18) pixels per metre at zoom z, the origin at longitude 0 on the equator,
 * and tile rows counted northwards from the equator. No key, no account.
 */
'use strict';

/* The tile server, in one place; {x} and {y} are Baidu's own tile indices. */
var BAIDU_TILE_URL =
    'https://maponline{s}.bdimg.com/tile/?qt=vtile&x={x}&y={y}&z={z}&styles=pl&scaler=1&udt=20240101';
var BAIDU_SUBDOMAINS = '0123';
var BAIDU_ATTRIBUTION = '&copy; Baidu';
var BAIDU_MIN_ZOOM = 3;
var BAIDU_MAX_ZOOM = 19;
/* The tiles stop at this latitude, like other Mercator maps. */
var BAIDU_MAX_LATITUDE = 85.0511287798;

/* Baidu's ellipsoid: semi-major and semi-minor axis in metres. */
var BaiduMercator = L.extend({}, L.Projection.Mercator, {
    R: 6378206,
    R_MINOR: 6356584.314245179,
    project: function (latlng) {
        var latitude = Math.max(-BAIDU_MAX_LATITUDE, Math.min(BAIDU_MAX_LATITUDE, latlng.lat));
        return L.Projection.Mercator.project.call(this, L.latLng(latitude, latlng.lng));
    }
});
BaiduMercator.bounds = L.bounds(
    BaiduMercator.project(L.latLng(-BAIDU_MAX_LATITUDE, -180)),
    BaiduMercator.project(L.latLng(BAIDU_MAX_LATITUDE, 180)));

var BaiduCRS = L.extend({}, L.CRS.Earth, {
    code: 'BD09MC',
    projection: BaiduMercator,
    transformation: new L.Transformation(1, 0, -1, 0),
    scale: function (zoom) {
        return Math.pow(2, zoom - 18);
    },
    zoom: function (scale) {
        return Math.log(scale) / Math.LN2 + 18;
    },
    infinite: false
});

/* Baidu's tile indices for Leaflet's: rows run the other way, and a negative index is written
   with "M" instead of "-". */
function baiduTileIndex(coords) {
    var name = function (value) {
        return value < 0 ? 'M' + (-value) : String(value);
    };
    return {x: name(coords.x), y: name(-coords.y - 1), z: coords.z};
}

var BaiduTileLayer = L.TileLayer.extend({
    getTileUrl: function (coords) {
        var index = baiduTileIndex(coords);
        return L.Util.template(this._url, L.extend({
            s: this._getSubdomain(coords), x: index.x, y: index.y, z: index.z
        }, this.options));
    }
});

var baiduTiles = new BaiduTileLayer(BAIDU_TILE_URL, {
    attribution: BAIDU_ATTRIBUTION, subdomains: BAIDU_SUBDOMAINS,
    minZoom: BAIDU_MIN_ZOOM, maxZoom: BAIDU_MAX_ZOOM, zIndex: 1
});

/* The Baidu tile that holds a position at a zoom, with its address (for tests). */
function tileAt(latitude, longitude, zoom) {
    var pixel = BaiduCRS.latLngToPoint(L.latLng(latitude, longitude), zoom);
    var coords = L.point(Math.floor(pixel.x / 256), Math.floor(pixel.y / 256));
    coords.z = zoom;
    var index = baiduTileIndex(coords);
    return {x: index.x, y: index.y, z: zoom, url: baiduTiles.getTileUrl(coords)};
}

kvStartMap({
    name: 'baidu',
    crs: BaiduCRS,
    center: [35, 105],
    zoom: 5,
    minZoom: BAIDU_MIN_ZOOM,
    maxZoom: BAIDU_MAX_ZOOM,
    baseLayers: [{name: 'Baidu', layer: baiduTiles}]
});
