// Peer for the load benchmark: a quick JSON-RPC server on Node's http module that parses the
// body, checks the token in a Set and answers on the next tick. Prints its port on stdout.
// Usage: node mock_server.js TOKEN
const http = require('http');
const tokens = new Set([process.argv[2]]);
const refusal = JSON.stringify({code: -32700, message: 'Parse error'});

const server = http.createServer((req, res) => {
  const chunks = [];
  req.on('data', (chunk) => chunks.push(chunk));
  req.on('end', () => {
    let call = null;
    try { call = JSON.parse(Buffer.concat(chunks)); } catch (e) { /* refused below */ }
    setImmediate(() => {
      const {AccessToken, ...params} = (call && call.params) || {};
      const known = call && call.jsonrpc === '2.0' && tokens.has(AccessToken);
      const result = Object.keys(params).length ? params : {power: 'powerOn'};
      const text = known ? JSON.stringify({jsonrpc: '2.0', id: String(call.id), result}) : refusal;
      res.writeHead(known ? 200 : 403,
                    {'Content-Type': 'application/json', 'Content-Length': Buffer.byteLength(text)});
      res.end(text);
    });
  });
});
server.listen(0, '127.0.0.1', () => console.log(server.address().port));
