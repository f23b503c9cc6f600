process TARVEK_RUN {
    tag "$meta.id"
    label 'process_medium'

    conda "${moduleDir}/environment.yml"
    container "${ workflow.containerEngine == 'singularity' && !task.ext.singularity_pull_docker_container ?
        'https://depot.galaxyproject.org/singularity/tarvek:2.2.1--0' :
        'biocontainers/tarvek:2.2.1--0' }"

    input:
    tuple val(meta), path(runs)

    output:
    tuple val(meta), path("${prefix}/*.mgf")           , emit: mgf
    tuple val(meta), path("${prefix}/*.csv")           , emit: precursors
    tuple val(meta), path("${prefix}/*.precursors.tsv"), emit: probabilities, optional: true
    tuple val(meta), path("${prefix}/*.tarvek")        , emit: record
    tuple val(meta), path("${prefix}/*.ms[12]")        , emit: extracted    , optional: true
    tuple val(meta), path("${prefix}/batch_logs")      , emit: logs
    path "versions.yml"                                , emit: versions

    when:
    task.ext.when == null || task.ext.when

    script:
    def args = task.ext.args ?: ''
    prefix = task.ext.prefix ?: "${meta.id}"
    """
    tarvek-tools run \\
        $args \\
        --jobs $task.cpus \\
        --out $prefix \\
        $runs

    cat <<-END_VERSIONS > versions.yml
    "${task.process}":
        tarvek: \$(tarvek-tools --version | sed 's/tarvek-tools //')
    END_VERSIONS
    """

    stub:
    prefix = task.ext.prefix ?: "${meta.id}"
    """
    mkdir -p $prefix/batch_logs
    touch $prefix/stub_HCDFT.mgf $prefix/stub.csv $prefix/stub.tarvek

    cat <<-END_VERSIONS > versions.yml
    "${task.process}":
        tarvek: \$(tarvek-tools --version | sed 's/tarvek-tools //')
    END_VERSIONS
    """
}
