-- wrk script: posts one JSON-RPC request per call over kept-alive connections.
-- BENCH_BODY (environment) replaces the default request.
wrk.method = "POST"
wrk.headers["Content-Type"] = "application/json"
wrk.body = os.getenv("BENCH_BODY") or
    '{"jsonrpc":"2.0","method":"powerControl","id":1,' ..
    '"params":{"AccessToken":"0123456789012345678901234567890123456789012345678"}}'
