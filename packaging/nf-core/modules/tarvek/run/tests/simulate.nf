// A simulated run of so many MS2 scans for the tests: the same bytes each time, so no data set is needed.
process SIMULATE_RUN {
    tag "$meta.id"

    conda "${moduleDir}/../environment.yml"
    container 'biocontainers/tarvek:2.2.1--0'

    input:
    tuple val(meta), val(scans)

    output:
    tuple val(meta), path("*.mzML"), emit: mzml

    script:
    """
    tarvek-tools simulate --seed 1 --ms2 $scans --format mzml simulated
    """
}
