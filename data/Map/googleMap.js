/*
 * The Google page: positions arrive in WGS-84, or in GCJ-02 when the user turned the correction
 * on (for maps of mainland China). The standard map is OpenStreetMap's, which is WGS-84
 * everywhere; the road map drawn in GCJ-02 can be chosen in the layer switch, so that corrected
 * tracks in China lie on its streets. No key, no account.
 */
'use strict';

/* The tile servers, each in one place. */
var OSM_TILE_URL = 'https://tile.openstreetmap.org/{z}/{x}/{y}.png';
var OSM_ATTRIBUTION =
    '&copy; <a href="https://www.openstreetmap.org/copyright">OpenStreetMap</a> contributors';
var OSM_MAX_ZOOM = 19;
var GCJ02_TILE_URL =
    'https://webrd0{s}.is.autonavi.com/appmaptile?lang=zh_cn&size=1&scale=1&style=8&x={x}&y={y}&z={z}';
var GCJ02_SUBDOMAINS = '1234';
var GCJ02_ATTRIBUTION = '&copy; AutoNavi';
var GCJ02_MAX_ZOOM = 18;

kvStartMap({
    name: 'google',
    crs: L.CRS.EPSG3857,
    center: [30, 10],
    zoom: 2,
    minZoom: 1,
    maxZoom: OSM_MAX_ZOOM,
    baseLayers: [
        {
            name: 'OpenStreetMap',
            layer: L.tileLayer(OSM_TILE_URL, {
                attribution: OSM_ATTRIBUTION, maxZoom: OSM_MAX_ZOOM, zIndex: 1
            })
        },
        {
            name: 'Road map (GCJ-02)',
            layer: L.tileLayer(GCJ02_TILE_URL, {
                attribution: GCJ02_ATTRIBUTION, subdomains: GCJ02_SUBDOMAINS,
                maxNativeZoom: GCJ02_MAX_ZOOM, maxZoom: OSM_MAX_ZOOM, zIndex: 1
            })
        }
    ]
});
